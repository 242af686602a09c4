#include <gtest/gtest.h>

#include "http/RewriteRequest.h"
#include "http/UpdateFiles.h"
#include "support/TestTools.h"

using namespace quillmarsh::service;

namespace {

struct Case
{
    const char* name;
    std::string body;
    int status;
    const char* code;
};

std::string repeated(const std::string& piece, size_t times)
{
    std::string text;
    for (size_t i = 0; i < times; ++i) {
        text += piece;
    }
    return text;
}

} // namespace

TEST(Request, TakesTextWithAndWithoutAnInstruction)
{
    const auto plain = readRewriteRequest(R"({"text":"hello"})");
    ASSERT_TRUE(std::holds_alternative<RewriteJob>(plain));
    EXPECT_EQ(std::get<RewriteJob>(plain).text, "hello");
    EXPECT_FALSE(std::get<RewriteJob>(plain).instruction.has_value());
    const auto told = readRewriteRequest(R"({"instruction":"Make it shorter","text":"\u00e9 \ud83d\ude00"})");
    EXPECT_EQ(std::get<RewriteJob>(told).text, "é 😀");
    EXPECT_EQ(std::get<RewriteJob>(told).instruction, "Make it shorter");
}

TEST(Request, RefusesEverythingElseWithAClearCode)
{
    const std::vector<Case> cases{
        {"nothing", "", 400, "invalid_json"},
        {"no JSON", "text=hello", 400, "invalid_json"},
        {"cut off", R"({"text":"hel)", 400, "invalid_json"},
        {"more behind", R"({"text":"a"} x)", 400, "invalid_json"},
        {"a list", R"(["a"])", 400, "wrong_type"},
        {"a string", R"("a")", 400, "wrong_type"},
        {"null", "null", 400, "wrong_type"},
        {"text a number", R"({"text":1})", 400, "wrong_type"},
        {"text null", R"({"text":null})", 400, "wrong_type"},
        {"instruction null", R"({"text":"a","instruction":null})", 400, "wrong_type"},
        {"instruction a list", R"({"text":"a","instruction":[]})", 400, "wrong_type"},
        {"no text", R"({"instruction":"a"})", 400, "missing_text"},
        {"empty object", "{}", 400, "missing_text"},
        {"unknown member", R"({"text":"a","model":"x"})", 400, "unknown_member"},
        {"text twice", R"({"text":"a","text":"b"})", 400, "duplicate_member"},
        {"empty text", R"({"text":""})", 400, "empty_text"},
        {"blank text", R"({"text":" \n\t"})", 400, "empty_text"},
        {"lone surrogate", R"({"text":"\ud800"})", 400, "invalid_json"},
        {"bad UTF-8", "{\"text\":\"\xff\"}", 400, "invalid_utf8"},
        {"overlong UTF-8", "{\"text\":\"\xc0\xaf\"}", 400, "invalid_utf8"},
        {"deep", repeated("[", 100'000), 400, "invalid_json"},
        {"deep object", repeated("{\"a\":", 20'000), 400, "invalid_json"},
        {"long instruction", test::rewriteBody("a", std::string(10'001, 'x')), 413, "instruction_too_long"},
    };
    for (const Case& c : cases) {
        const auto result = readRewriteRequest(c.body);
        ASSERT_TRUE(std::holds_alternative<Problem>(result)) << c.name;
        EXPECT_EQ(std::get<Problem>(result).status, c.status) << c.name;
        EXPECT_EQ(std::get<Problem>(result).code, c.code) << c.name;
        EXPECT_FALSE(std::get<Problem>(result).message.empty()) << c.name;
    }
}

TEST(Request, TenThousandCharactersPassAndOneMoreDoesNot)
{
    for (const std::string character : {"a", "é", "👍🏽", "👩‍👩‍👧"}) {
        const auto fits = readRewriteRequest(test::rewriteBody(repeated(character, 10'000)));
        EXPECT_TRUE(std::holds_alternative<RewriteJob>(fits)) << character;
        const auto tooLong = readRewriteRequest(test::rewriteBody(repeated(character, 10'001)));
        ASSERT_TRUE(std::holds_alternative<Problem>(tooLong)) << character;
        EXPECT_EQ(std::get<Problem>(tooLong).code, "text_too_long") << character;
        EXPECT_EQ(std::get<Problem>(tooLong).status, 413) << character;
    }
}

TEST(Manifest, IsWhatTheApplicationAccepts)
{
    EXPECT_TRUE(
        isUpdateManifest(R"({"version":"1.2.3.4","url":"https://example.org/a.zip","notes":["One","Two"]})"));
    EXPECT_TRUE(isUpdateManifest(R"({"version":"01","url":"https://example.org/a.zip"})"));
    for (const char* bad :
         {"", "[]", R"({"version":"1"})", R"({"version":"v1","url":"https://x"})",
          R"({"version":"1.2-beta","url":"https://x"})", R"({"version":"1..2","url":"https://x"})",
          R"({"version":"1.2.3.4.5","url":"https://x"})", R"({"version":"1.","url":"https://x"})",
          R"({"version":1,"url":"https://x"})", R"({"version":"1","url":"http://x"})",
          R"({"version":"1","url":"https://x","notes":"n"})",
          R"({"version":"1","url":"https://x","notes":[1]})"}) {
        EXPECT_FALSE(isUpdateManifest(bad)) << bad;
    }
}
