#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quillmarsh::service {

/// A piece of a text. The pieces of a text, joined, are the text.
struct Token
{
    enum class Kind {
        Word,   ///< letters, with apostrophes inside
        Number, ///< begins with a digit
        Opaque, ///< never changed: links, addresses, code, names of files, hashtags, compounds, other scripts
        Punctuation, ///< one mark, or a run of the same one
        Blank,       ///< spaces and tabs inside a line
        Indent,      ///< everything in front of the first word of a line: blanks, list marks, quotation marks
        LineEnd      ///< one line end
    };

    Kind kind = Kind::Word;
    std::string text;
    std::string lower{}; ///< words: lower case, with the plain apostrophe
    bool startsSentence = false;
    bool listItem = false; ///< Indent: the line is an item of a list

    [[nodiscard]] bool is(Kind k) const { return kind == k; }
    [[nodiscard]] bool isMark(char c) const
    {
        return kind == Kind::Punctuation && text.size() == 1 && text[0] == c;
    }
    /// Takes part in a sentence.
    [[nodiscard]] bool isContent() const
    {
        return kind == Kind::Word || kind == Kind::Number || kind == Kind::Opaque;
    }
};

using Tokens = std::vector<Token>;

inline constexpr size_t noToken = static_cast<size_t>(-1);

[[nodiscard]] Token makeWord(std::string_view text);
[[nodiscard]] std::string joined(const Tokens& tokens);

/// The token after (before) `i`, without blanks; noToken at the end (begin) of the line or text.
[[nodiscard]] size_t nextInLine(const Tokens& tokens, size_t i);
[[nodiscard]] size_t previousInLine(const Tokens& tokens, size_t i);
/// The word after (before) `i` when nothing but blanks is between; noToken otherwise.
[[nodiscard]] size_t nextWord(const Tokens& tokens, size_t i);
[[nodiscard]] size_t previousWord(const Tokens& tokens, size_t i);
/// Whether `neighbour`, beside `i` in its line, is a word or a number with nothing but blanks between.
[[nodiscard]] bool isNeighbour(const Tokens& tokens, size_t i, size_t neighbour);
[[nodiscard]] bool isBehindComma(const Tokens& tokens, size_t i);

[[nodiscard]] bool isUpper(char c);
[[nodiscard]] bool isLower(char c);
[[nodiscard]] bool isLetter(char c); ///< ASCII
[[nodiscard]] bool isDigit(char c);
[[nodiscard]] bool isCapitalised(std::string_view word); ///< begins with an ASCII capital
[[nodiscard]] bool isAllCapitals(std::string_view word); ///< two letters or more, no small one
[[nodiscard]] std::string capitalised(std::string_view word);
/// `word` in the manner of `model`: all capitals, or a capital first letter, or as it is.
[[nodiscard]] std::string inTheCaseOf(std::string_view word, std::string_view model);

} // namespace quillmarsh::service
