#include <algorithm>
#include <array>

#include "base/Text.h"
#include "offline/Tokenizer.h"

namespace quillmarsh::service {

namespace {

using Kind = Token::Kind;

/// A full stop behind one of these does not end a sentence.
constexpr std::array abbreviations{
    "mr",  "mrs",  "ms",  "dr",  "prof", "st",  "sr",  "jr",   "vs",  "etc", "approx", "no",  "nos", "fig",
    "vol", "dept", "est", "min", "max",  "inc", "ltd", "co",   "jan", "feb", "mar",    "apr", "jun", "jul",
    "aug", "sept", "sep", "oct", "nov",  "dec", "mon", "tue",  "wed", "thu", "fri",    "sat", "sun", "pp",
    "ed",  "al",   "ca",  "cf",  "ff",   "e.g", "i.e", "govt", "tel", "ext", "ave",    "rd",  "ft",  "sec"};

bool isAbbreviation(const Token& token)
{
    const std::string lower = asciiLower(token.text);
    return std::find(abbreviations.begin(), abbreviations.end(), lower) != abbreviations.end() ||
           (token.is(Kind::Word) && token.text.size() == 1 && token.text != "I") || lower.ends_with('.');
}

/// "word. Next": the mark ends a sentence. An ellipsis, a mark inside quotes before a small "he said", do
/// not.
bool endsSentence(const Tokens& tokens, size_t i)
{
    const Token& mark = tokens[i];
    if (!mark.is(Kind::Punctuation) || mark.text.find_first_not_of(".!?") != std::string::npos) {
        return false;
    }
    if (mark.text[0] != '.') {
        return true;
    }
    return mark.text.size() == 1 && i > 0 && !isAbbreviation(tokens[i - 1]);
}

bool isBlankLine(const Tokens& tokens, size_t lineEnd)
{
    size_t i = lineEnd;
    while (i > 0 && !tokens[i - 1].is(Kind::LineEnd)) {
        --i;
        if (!tokens[i].is(Kind::Blank) && !tokens[i].is(Kind::Indent)) {
            return false;
        }
    }
    return true;
}

/// "Hi Tom," on a line of its own.
bool isGreetingLine(const Tokens& tokens, size_t lineEnd)
{
    constexpr std::array greetings{"hi", "hello", "hey", "dear", "morning", "good"};
    size_t contents = 0;
    size_t first = lineEnd;
    for (size_t i = lineEnd; i > 0 && !tokens[i - 1].is(Kind::LineEnd); --i) {
        contents += tokens[i - 1].isContent() ? 1 : 0;
        first = tokens[i - 1].isContent() ? i - 1 : first;
    }
    return contents > 0 && contents <= 4 &&
           std::find(greetings.begin(), greetings.end(), tokens[first].lower) != greetings.end();
}

class Marker final
{
public:
    explicit Marker(Tokens& tokens) : tokens_(tokens) {}

    void mark()
    {
        for (size_t i = 0; i < tokens_.size(); ++i) {
            visit(i);
        }
    }

private:
    void visit(size_t i)
    {
        Token& token = tokens_[i];
        token.startsSentence = false;
        if (token.isContent()) {
            token.startsSentence = pending_;
            pending_ = false;
        } else if (token.is(Kind::LineEnd)) {
            pending_ = pending_ || isBlankLine(tokens_, i) || isGreetingLine(tokens_, i);
        } else if (token.is(Kind::Indent) && token.listItem) {
            pending_ = true;
        } else if (pending_ && interrupts(i)) {
            pending_ = false;
        } else if (endsSentence(tokens_, i)) {
            const size_t next = i + 1;
            pending_ = next >= tokens_.size() || tokens_[next].is(Kind::Blank) ||
                       tokens_[next].is(Kind::LineEnd) ||
                       (tokens_[next].isContent() && tokens_[i].text == ".");
        }
    }

    /// "done. → next", "(see above. (more))": a mark between two sentences that is no quotation mark.
    [[nodiscard]] bool interrupts(size_t i) const
    {
        const Token& token = tokens_[i];
        static constexpr std::array quotes{"\"", "'", "“", "”", "‘", "’", "«", "»",
                                           "„",  ".", "!", "?", "¿", "¡", "*", "**"};
        if (!token.is(Kind::Punctuation) ||
            std::find(quotes.begin(), quotes.end(), token.text) != quotes.end()) {
            return false;
        }
        const bool closing = token.text == ")" || token.text == "]";
        return !(closing && i > 0 && tokens_[i - 1].is(Kind::Punctuation));
    }

    Tokens& tokens_;
    bool pending_ = true;
};

} // namespace

void markSentenceStarts(Tokens& tokens)
{
    Marker(tokens).mark();
}

} // namespace quillmarsh::service
