#include <algorithm>

#include "offline/Passes.h"

namespace quillmarsh::service {

namespace {

using Kind = Token::Kind;

constexpr std::string_view closingMarks = ",.;:!?";

bool isOneOf(const Token& token, std::string_view marks)
{
    return token.is(Kind::Punctuation) && token.text.size() == 1 &&
           marks.find(token.text[0]) != std::string_view::npos;
}

/// Columns that somebody aligned by hand: two or more wide gaps in one line, or a tab.
bool isAligned(const Tokens& tokens, size_t begin, size_t end)
{
    int gaps = 0;
    for (size_t i = begin; i < end; ++i) {
        if (tokens[i].is(Kind::Blank)) {
            gaps += tokens[i].text.size() > 1 && i + 1 < end ? 1 : 0;
            gaps += tokens[i].text.size() > 3 && i + 1 < end ? 1 : 0;
            gaps += tokens[i].text.find('\t') != std::string::npos ? 2 : 0;
        }
    }
    return gaps >= 3 || (gaps == 2 && end - begin < 8);
}

class LineSpacing final
{
public:
    LineSpacing(const Tokens& in, size_t begin, size_t end, Tokens& out, const Lexicon& lexicon)
        : in_(in), begin_(begin), end_(end), out_(out), lexicon_(lexicon)
    {}

    void run()
    {
        for (size_t i = begin_; i < end_; ++i) {
            if (in_[i].is(Kind::Blank)) {
                blank(i);
            } else if (in_[i].is(Kind::Punctuation)) {
                mark(i);
            } else {
                out_.push_back(in_[i]);
            }
        }
    }

private:
    void blank(size_t i)
    {
        const bool atEdge = i == begin_ || i + 1 == end_;
        if (atEdge || out_.empty()) {
            out_.push_back(
                in_[i]); // a blank at the edge of the selection or of a line is its owner's business
            return;
        }
        const Token& before = in_[i - 1];
        const Token& behind = in_[i + 1];
        const bool wordsBefore = before.isContent() || before.is(Kind::Punctuation);
        const bool markBehind = isOneOf(behind, closingMarks) && !startsSomething(i + 1);
        if (markBehind && before.isContent()) {
            return;
        }
        if ((isOneOf(before, "([") && behind.isContent()) || (isOneOf(behind, ")]") && before.isContent())) {
            return;
        }
        Token single = in_[i];
        const bool afterStop = isOneOf(before, ".!?:") && single.text == "  ";
        if (wordsBefore && !afterStop) {
            single.text = " ";
        }
        out_.push_back(single);
    }

    /// ".5", "...", ":)" and "?!" after a blank are no closing marks of the word before.
    [[nodiscard]] bool startsSomething(size_t i) const
    {
        return i + 1 < end_ && !in_[i + 1].is(Kind::Blank) && !isOneOf(in_[i + 1], "\")]'");
    }

    void mark(size_t i)
    {
        Token token = in_[i];
        if ((token.text == ",," || token.text == ";;") ||
            (token.text == ".." && followsWord(i) && endsHere(i))) {
            token.text.resize(1);
        }
        out_.push_back(token);
        if (needsBlank(i)) {
            out_.push_back({Kind::Blank, " "});
        }
    }

    [[nodiscard]] bool followsWord(size_t i) const { return i > begin_ && in_[i - 1].is(Kind::Word); }
    [[nodiscard]] bool endsHere(size_t i) const { return i + 1 == end_ || in_[i + 1].is(Kind::Blank); }

    /// "one,two" and "done.Next": known words on both sides and no blank.
    [[nodiscard]] bool needsBlank(size_t i) const
    {
        if (!followsWord(i) || i + 1 >= end_ || !in_[i + 1].is(Kind::Word)) {
            return false;
        }
        const Token& before = in_[i - 1];
        const Token& behind = in_[i + 1];
        const bool known =
            before.text.size() > 1 && lexicon_.knows(before.text) && lexicon_.knows(behind.text);
        if (isOneOf(in_[i], ",;")) {
            return known || behind.lower == "i";
        }
        return isOneOf(in_[i], ".!?") && known && isLower(before.text[0]) && isCapitalised(behind.text) &&
               (behind.text.size() > 1 || behind.text == "I");
    }

    const Tokens& in_;
    size_t begin_;
    size_t end_;
    Tokens& out_;
    const Lexicon& lexicon_;
};

} // namespace

void fixSpacing(Tokens& tokens, const Lexicon& lexicon)
{
    Tokens out;
    out.reserve(tokens.size());
    for (size_t begin = 0; begin < tokens.size();) {
        size_t end = begin;
        while (end < tokens.size() && !tokens[end].is(Kind::LineEnd)) {
            ++end;
        }
        if (isAligned(tokens, begin, end)) {
            out.insert(out.end(), tokens.begin() + static_cast<std::ptrdiff_t>(begin),
                       tokens.begin() + static_cast<std::ptrdiff_t>(end));
        } else {
            LineSpacing(tokens, begin, end, out, lexicon).run();
        }
        if (end < tokens.size()) {
            out.push_back(tokens[end]);
        }
        begin = end + 1;
    }
    tokens = std::move(out);
}

} // namespace quillmarsh::service
