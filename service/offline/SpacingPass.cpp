#include <algorithm>

#include "offline/Misspellings.h"
#include "offline/Passes.h"
#include "offline/WordClasses.h"

namespace quillmarsh::service {

namespace {

using Kind = Token::Kind;

/// Not the colon: "name : text" is how some write lists of terms.
constexpr std::string_view closingMarks = ",.;!?";

bool isOneOf(const Token& token, std::string_view marks)
{
    return token.is(Kind::Punctuation) && token.text.size() == 1 &&
           marks.find(token.text[0]) != std::string_view::npos;
}

/// How a text was aligned by hand: a line has a tab, or wide gaps come in more than one line.
struct Alignment
{
    bool tab = false;
    int wideGaps = 0;

    Alignment(const Tokens& tokens, size_t begin, size_t end)
    {
        for (size_t i = begin; i + 1 < end; ++i) {
            const bool blank = tokens[i].is(Kind::Blank) && i > begin;
            const bool afterStop = blank && isOneOf(tokens[i - 1], ".!?)\"");
            tab = tab || (blank && tokens[i].text.find('\t') != std::string::npos);
            wideGaps += blank && tokens[i].text.size() > 1 && !afterStop ? 1 : 0;
        }
    }
};

/// A line that is framed by marks, as in "* text      *".
bool isFramed(const Tokens& tokens, size_t begin, size_t end)
{
    if (end - begin < 2) {
        return false;
    }
    const std::string& last = tokens[end - 1].text;
    return last == "*" || last == "|" || last == "#";
}

class LineSpacing final
{
public:
    LineSpacing(const Tokens& in, size_t begin, size_t end, Tokens& out, const Lexicon& lexicon,
                bool technical)
        : in_(in), begin_(begin), end_(end), out_(out), lexicon_(lexicon), technical_(technical)
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
        if (markBehind && (before.isContent() || before.isMark(')')) && (!technical_ || behind.isMark(','))) {
            return;
        }
        const bool insideBrackets = (before.isMark('(') && behind.is(Kind::Word)) ||
                                    (behind.isMark(')') && (before.isContent() || isOneOf(before, ".!?")));
        if (insideBrackets && !technical_) {
            return;
        }
        Token single = in_[i];
        const bool afterStop = isOneOf(before, ".!?:)\"") && single.text == "  ";
        if (wordsBefore && !afterStop) {
            single.text = " ";
        }
        out_.push_back(single);
    }

    /// ".5", "...", ":)" and "?!" after a blank are no closing marks of the word before.
    [[nodiscard]] bool startsSomething(size_t i) const
    {
        if (isOneOf(in_[i], ",;") && i + 1 < end_ && in_[i + 1].is(Kind::Word)) {
            return false; // "one ,two"
        }
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
        if (i + 1 >= end_ || !in_[i + 1].is(Kind::Word)) {
            return false;
        }
        if (i > begin_ + 1 && in_[i - 1].is(Kind::Blank) && in_[i - 2].isContent() && isOneOf(in_[i], ",;")) {
            return true; // "one ,two": the blank was on the wrong side
        }
        if (!followsWord(i)) {
            return false;
        }
        const Token& before = in_[i - 1];
        const Token& behind = in_[i + 1];
        const bool known = before.text.size() > 1 && isKnown(before) && isKnown(behind);
        if (isOneOf(in_[i], ",;")) {
            return known || behind.lower == "i";
        }
        // behind a full stop only a small word: "logging.Handler" is a name
        const bool starts = isCapitalised(behind.text)
                                ? isOneOf(in_[i], "!?") || isFunctionWord(behind.lower)
                                : in_[i].isMark('.') && !technical_ && opensSentence(behind.lower);
        return isOneOf(in_[i], ".!?") && known && isLower(before.text[0]) && starts &&
               !isAllCapitals(behind.text);
    }

    /// Also when it is misspelt, but nothing else can be meant.
    [[nodiscard]] bool isKnown(const Token& word) const
    {
        return lexicon_.knows(word.text) || (!technical_ && (!wellKnownCorrection(word.lower).empty() ||
                                                             !lexicon_.withCapitals(word.lower).empty()));
    }

    const Tokens& in_;
    size_t begin_;
    size_t end_;
    Tokens& out_;
    const Lexicon& lexicon_;
    bool technical_;
};

} // namespace

void fixSpacing(Tokens& tokens, const Lexicon& lexicon)
{
    struct Line
    {
        size_t begin;
        size_t end;
        Alignment alignment;
    };
    std::vector<Line> lines;
    for (size_t begin = 0; begin < tokens.size();) {
        const auto from = tokens.begin() + static_cast<std::ptrdiff_t>(begin);
        const auto lineEnd =
            std::find_if(from, tokens.end(), [](const Token& t) { return t.is(Kind::LineEnd); });
        const auto end = static_cast<size_t>(lineEnd - tokens.begin());
        lines.push_back({begin, end, Alignment(tokens, begin, end)});
        begin = end + 1;
    }
    const auto gapped =
        std::count_if(lines.begin(), lines.end(), [](const Line& l) { return l.alignment.wideGaps > 0; });
    const bool technical = isTechnical(tokens);
    Tokens out;
    out.reserve(tokens.size());
    for (const Line& line : lines) {
        const bool aligned = line.alignment.tab || (line.alignment.wideGaps > 0 && gapped > 1) ||
                             isFramed(tokens, line.begin, line.end);
        if (aligned) {
            out.insert(out.end(), tokens.begin() + static_cast<std::ptrdiff_t>(line.begin),
                       tokens.begin() + static_cast<std::ptrdiff_t>(line.end));
        } else {
            LineSpacing(tokens, line.begin, line.end, out, lexicon, technical).run();
        }
        if (line.end < tokens.size()) {
            out.push_back(tokens[line.end]);
        }
    }
    tokens = std::move(out);
}

} // namespace quillmarsh::service
