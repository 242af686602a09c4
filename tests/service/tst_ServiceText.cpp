#include <gtest/gtest.h>

#include "base/Text.h"
#include "support/TestTools.h"

using namespace quillmarsh::service;

TEST(Text, CountsWhatAUserPerceivesAsOneCharacter)
{
    EXPECT_EQ(countCharacters("abc", 100), 3U);
    EXPECT_EQ(countCharacters("", 100), 0U);
    EXPECT_EQ(countCharacters("e\u0301", 100), 1U);
    EXPECT_EQ(countCharacters("👩‍👩‍👧‍👦", 100), 1U);
    EXPECT_EQ(countCharacters("👍🏽", 100), 1U);
    EXPECT_EQ(countCharacters("🇫🇷🇩🇪", 100), 2U);
    EXPECT_EQ(countCharacters("a\r\nb", 100), 3U);
}

TEST(Text, CountingStopsWhereItIsEnough)
{
    EXPECT_EQ(countCharacters(std::string(500, 'x'), 10), 10U);
    EXPECT_EQ(countCharacters("ééééé", 3), 3U);
}

TEST(Text, TellsWellFormedUtf8)
{
    for (const char* good : {"", "abc", "é", "日本", "😀", "\xEF\xBF\xBD"}) {
        EXPECT_TRUE(isValidUtf8(good)) << good;
    }
    for (const char* bad :
         {"\xFF", "\xC3", "\xC0\xAF", "\xED\xA0\x80", "\xF5\x80\x80\x80", "a\x80", "\xE2\x82"}) {
        EXPECT_FALSE(isValidUtf8(bad)) << bad;
    }
}

TEST(Text, DecodesBase64UrlWithoutPadding)
{
    EXPECT_EQ(decodeBase64Url(""), "");
    EXPECT_EQ(decodeBase64Url("Zm9v"), "foo");
    EXPECT_EQ(decodeBase64Url("Zm8"), "fo");
    EXPECT_EQ(decodeBase64Url("-_-_")->size(), 3U);
    EXPECT_EQ(decodeBase64Url(test::token(7))->size(), 32U);
    for (const char* bad : {"Zm8=", "Zm+v", "Z", "Zm9", "Zm/v", "Zm9v "}) {
        EXPECT_FALSE(decodeBase64Url(bad).has_value()) << bad;
    }
}

TEST(Text, HashesAsTheStandardSays)
{
    EXPECT_EQ(sha256Hex("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}
