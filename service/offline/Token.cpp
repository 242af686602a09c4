#include "offline/Token.h"

#include <algorithm>

#include "base/Text.h"

namespace quillmarsh::service {

namespace {

constexpr std::string_view typographicApostrophe = "’";

bool endsLine(const Token& token)
{
    return token.is(Token::Kind::LineEnd) || token.is(Token::Kind::Indent);
}

} // namespace

Token makeWord(std::string_view text)
{
    Token token{Token::Kind::Word, std::string(text)};
    token.lower = asciiLower(text);
    for (size_t at = 0; (at = token.lower.find(typographicApostrophe, at)) != std::string::npos;) {
        token.lower.replace(at, typographicApostrophe.size(), "'");
    }
    return token;
}

std::string joined(const Tokens& tokens)
{
    std::string text;
    for (const Token& token : tokens) {
        text += token.text;
    }
    return text;
}

size_t nextInLine(const Tokens& tokens, size_t i)
{
    for (++i; i < tokens.size() && !endsLine(tokens[i]); ++i) {
        if (!tokens[i].is(Token::Kind::Blank)) {
            return i;
        }
    }
    return noToken;
}

size_t previousInLine(const Tokens& tokens, size_t i)
{
    while (i > 0 && !endsLine(tokens[i - 1])) {
        --i;
        if (!tokens[i].is(Token::Kind::Blank)) {
            return i;
        }
    }
    return noToken;
}

size_t nextWord(const Tokens& tokens, size_t i)
{
    const size_t next = nextInLine(tokens, i);
    return next != noToken && tokens[next].is(Token::Kind::Word) && next > i + 1 ? next : noToken;
}

size_t previousWord(const Tokens& tokens, size_t i)
{
    const size_t previous = previousInLine(tokens, i);
    return previous != noToken && tokens[previous].is(Token::Kind::Word) && previous + 1 < i ? previous
                                                                                             : noToken;
}

bool isNeighbour(const Tokens& tokens, size_t i, size_t neighbour)
{
    return neighbour != noToken && (neighbour > i ? neighbour > i + 1 : neighbour + 1 < i) &&
           (tokens[neighbour].is(Token::Kind::Word) || tokens[neighbour].is(Token::Kind::Number));
}

bool isBehindComma(const Tokens& tokens, size_t i)
{
    const size_t previous = previousInLine(tokens, i);
    return previous != noToken && tokens[previous].isMark(',');
}

bool isUpper(char c)
{
    return c >= 'A' && c <= 'Z';
}

bool isLower(char c)
{
    return c >= 'a' && c <= 'z';
}

bool isLetter(char c)
{
    return isUpper(c) || isLower(c);
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isCapitalised(std::string_view word)
{
    return !word.empty() && isUpper(word.front());
}

bool isAllCapitals(std::string_view word)
{
    return std::count_if(word.begin(), word.end(), isUpper) >= 2 &&
           std::none_of(word.begin(), word.end(), isLower);
}

std::string capitalised(std::string_view word)
{
    std::string result(word);
    if (!result.empty() && isLower(result.front())) {
        result.front() = static_cast<char>(result.front() - 'a' + 'A');
    }
    return result;
}

std::string inTheCaseOf(std::string_view word, std::string_view model)
{
    if (isAllCapitals(model)) {
        std::string result(word);
        std::transform(result.begin(), result.end(), result.begin(),
                       [](char c) { return isLower(c) ? static_cast<char>(c - 'a' + 'A') : c; });
        return result;
    }
    return isCapitalised(model) ? capitalised(word) : std::string(word);
}

} // namespace quillmarsh::service
