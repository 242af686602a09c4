#pragma once

#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "offline/Token.h"
#include "offline/WordClasses.h"

namespace quillmarsh::service {

/// Rules of the form "words => other words", applied to the words of a line.
///
/// Left side, elements parted by blanks, all of them neighbours with nothing but blanks between:
///   word         this word; a|b|c one of several
///   <class>      a word of a class, see WordClasses
///   ^            first: what follows begins a sentence
///   $            last: nothing but a mark or the end of the line follows
///   $! / $?      last: the sentence is no question / is one
///   ~a|b  !a|b   first: the word before is (is not) one of these; last: the word behind is (is not);
///                classes as "~<class>". A missing word is none of them.
/// Right side: words; $1, $2 … stand for the matched words, $2-base for the base form of a past one, $2-pp
/// for its participle, $2-s for its third person, $2-plain without that -s, $2-ing, $2-plural, $2-stem
/// without what the apostrophe adds, $2're with something added; "-" alone deletes. A comma at the end of the
/// left side ("however ,") matches a comma and takes it along; to be deleted, such words must begin a
/// sentence or stand behind a comma.
/// The first rule that matches at a word wins; the capital of the first word is kept.
class RuleSet final
{
public:
    /// Throws std::logic_error for a rule that cannot be read.
    explicit RuleSet(std::string_view text);

    /// Applies the rules once, from left to right. Returns how many matched.
    size_t apply(Tokens& tokens) const;

private:
    struct Element
    {
        std::set<std::string, std::less<>> words;
        std::vector<WordClass> classes;

        [[nodiscard]] bool matches(const Token& token) const;
    };
    enum class Look { None, Is, IsNot };
    enum class End { Any, Clause, NotQuestion, Question };
    struct Rule
    {
        bool atStart = false;
        bool takesComma = false;
        End end = End::Any;
        Look before = Look::None;
        Element beforeElement;
        Look behind = Look::None;
        Element behindElement;
        std::vector<Element> elements;
        std::vector<std::string> result;
    };

    void addRule(std::string_view line);
    static void checkResult(const Rule& rule, std::string_view line);
    void readLeft(Rule& rule, const std::vector<std::string>& pieces) const;
    [[nodiscard]] static Element readElement(std::string_view piece);
    [[nodiscard]] bool matchAt(const Rule& rule, const Tokens& tokens, size_t i,
                               std::vector<size_t>& matched) const;
    [[nodiscard]] static bool fitsBefore(const Rule& rule, const Tokens& tokens, size_t i);
    [[nodiscard]] static bool fitsEnd(const Rule& rule, const Tokens& tokens, size_t last);
    [[nodiscard]] const Rule* find(const Tokens& tokens, size_t i, std::vector<size_t>& matched) const;
    /// Gives the begin of a sentence on to the next token that can have it.
    [[nodiscard]] static bool inheritStart(Token& token);
    /// Drops the comma in front of words that were deleted with the comma behind them.
    static void dropComma(Tokens& out);
    /// Takes one of the two blanks around deleted words along.
    static void closeGap(const Tokens& tokens, size_t& i, Tokens& out);
    static void write(const Rule& rule, const Tokens& tokens, const std::vector<size_t>& matched,
                      Tokens& out);

    std::vector<Rule> rules_;
    std::unordered_map<std::string, std::vector<size_t>> byWord_; ///< rules whose first element is a word
    std::vector<size_t> byClass_;                                 ///< the others
};

} // namespace quillmarsh::service
