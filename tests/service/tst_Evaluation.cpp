// The figures of the offline engine on its fixed sets. A correct sentence must never change; of the sentences
// with errors all must come out right of the set that belongs to the rules, and of the others no fewer than
// do today.
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

/// What the user has afterwards: a text that is refused stays as it is.
std::string rewritten(const std::string& text)
{
    static OfflineEngine engine("/usr/share/hunspell/en_US");
    const EngineAnswer answer = engine.rewrite({text, std::nullopt}, {});
    return answer.verdict == EngineAnswer::Verdict::Done ? answer.text : text;
}

void expectUnchanged(const std::string& name, size_t atLeast)
{
    const auto lines = linesOf(name);
    ASSERT_GE(lines.size(), atLeast);
    size_t worse = 0;
    for (const std::string& line : lines) {
        const std::string text = unescaped(line);
        const std::string result = rewritten(text);
        worse += result == text ? 0 : 1;
        EXPECT_EQ(result, text);
    }
    std::printf("%s: %zu, untouched %zu, made worse %zu\n", name.c_str(), lines.size(), lines.size() - worse,
                worse);
    EXPECT_EQ(worse, 0U);
}

void expectRepaired(const std::string& name, size_t atLeast, size_t percent)
{
    const auto lines = linesOf(name);
    ASSERT_GE(lines.size(), atLeast);
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
    std::printf("%s: %zu, repaired %zu, untouched %zu, otherwise changed %zu\n", name.c_str(), lines.size(),
                repaired, untouched, lines.size() - repaired - untouched);
    EXPECT_GE(repaired * 100, lines.size() * percent);
}

} // namespace

TEST(Evaluation, CorrectTextsAreNeverChanged)
{
    expectUnchanged("correct.txt", 150);
    expectUnchanged("held-out-correct.txt", 100);
    expectUnchanged("everyday-correct.txt", 40);
}

TEST(Evaluation, TextsWithErrorsAreRepaired)
{
    expectRepaired("with-errors.txt", 150, 100);
    expectRepaired("held-out-with-errors.txt", 90, 83);
    expectRepaired("everyday-with-errors.txt", 40, 75);
}

TEST(Evaluation, ARepairedTextStaysAsItIs)
{
    for (const char* name : {"with-errors.txt", "held-out-with-errors.txt"}) {
        for (const std::string& line : linesOf(name)) {
            const std::string right = unescaped(line.substr(line.find(" => ") + 4));
            EXPECT_EQ(rewritten(right), right);
        }
    }
}
