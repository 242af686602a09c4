// The figures of the offline engine on its fixed sets. A correct sentence must never change; of the sentences
// with errors nearly all must come out right.
#include <cstdio>
#include <fstream>

#include <gtest/gtest.h>

#include "offline/OfflineEngine.h"

using namespace quillmarsh::service;

namespace {

std::string unescaped(std::string text)
{
    for (size_t at = 0; (at = text.find("\\n", at)) != std::string::npos; ++at) {
        text.replace(at, 2, "\n");
    }
    return text;
}

std::vector<std::string> linesOf(const std::string& name)
{
    std::ifstream file(std::string(EVALUATION_FOLDER) + "/" + name);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && !line.starts_with("# ")) {
            lines.push_back(line);
        }
    }
    return lines;
}

std::string rewritten(const std::string& text)
{
    static OfflineEngine engine("/usr/share/hunspell/en_US");
    return engine.rewrite({text, std::nullopt}, {}).text;
}

} // namespace

TEST(Evaluation, CorrectTextsAreNeverChanged)
{
    const auto lines = linesOf("correct.txt");
    ASSERT_GE(lines.size(), 150U);
    size_t worse = 0;
    for (const std::string& line : lines) {
        const std::string text = unescaped(line);
        const std::string result = rewritten(text);
        worse += result == text ? 0 : 1;
        EXPECT_EQ(result, text);
    }
    std::printf("correct texts: %zu, untouched %zu, made worse %zu\n", lines.size(), lines.size() - worse,
                worse);
    EXPECT_EQ(worse, 0U);
}

TEST(Evaluation, TextsWithErrorsAreRepaired)
{
    const auto lines = linesOf("with-errors.txt");
    ASSERT_GE(lines.size(), 150U);
    size_t repaired = 0;
    size_t untouched = 0;
    for (const std::string& line : lines) {
        const size_t arrow = line.find(" => ");
        ASSERT_NE(arrow, std::string::npos) << line;
        const std::string wrong = unescaped(line.substr(0, arrow));
        const std::string right = unescaped(line.substr(arrow + 4));
        const std::string result = rewritten(wrong);
        repaired += result == right ? 1 : 0;
        untouched += result == wrong ? 1 : 0;
        if (result != right) {
            std::printf("not repaired: %s\n          got: %s\n", wrong.c_str(), result.c_str());
        }
    }
    std::printf("texts with errors: %zu, repaired %zu, untouched %zu, otherwise changed %zu\n", lines.size(),
                repaired, untouched, lines.size() - repaired - untouched);
    EXPECT_GE(repaired * 100, lines.size() * 95);
}

TEST(Evaluation, ARepairedTextStaysAsItIs)
{
    for (const std::string& line : linesOf("with-errors.txt")) {
        const std::string right = unescaped(line.substr(line.find(" => ") + 4));
        EXPECT_EQ(rewritten(right), right);
    }
}
