#include "offline/LineSplitter.h"

#include <algorithm>

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include "offline/OpaqueText.h"

namespace quillmarsh::service {

namespace {

using Kind = Token::Kind;

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

/// The length in bytes of the character at `at`, and whether it is a letter.
struct Character
{
    size_t length = 1;
    bool letter = false;
    bool latin = true;
};

Character characterAt(std::string_view text, size_t at)
{
    if (static_cast<unsigned char>(text[at]) < 0x80) {
        return {1, isLetter(text[at]), true};
    }
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    auto position = static_cast<std::int32_t>(at);
    UChar32 code = 0;
    U8_NEXT(bytes, position, static_cast<std::int32_t>(text.size()), code);
    const bool latin = code < 0x250 || (code >= 0x1E00 && code < 0x1F00);
    return {static_cast<size_t>(position) - at, code > 0 && u_isalpha(code) != 0, latin};
}

/// The apostrophe at `at`, plain or typographic, as its length in bytes; 0 when there is none.
size_t apostropheAt(std::string_view text, size_t at)
{
    if (at < text.size() && text[at] == '\'') {
        return 1;
    }
    return text.substr(at).starts_with("’") ? 3 : 0;
}

/// Splits one line.
class LineSplitter final
{
public:
    LineSplitter(std::string_view line, Tokens& tokens) : line_(line), tokens_(tokens) {}

    void split()
    {
        takeIndent();
        while (at_ < line_.size()) {
            if (isBlank(line_[at_])) {
                takeWhile(Kind::Blank, isBlank);
            } else {
                takeChunk();
            }
        }
    }

private:
    void push(Kind kind, size_t length)
    {
        const std::string_view text = line_.substr(at_, length);
        tokens_.push_back(kind == Kind::Word ? makeWord(text) : Token{kind, std::string(text)});
        at_ += length;
    }

    template <typename Predicate>
    void takeWhile(Kind kind, Predicate predicate)
    {
        size_t end = at_;
        while (end < line_.size() && predicate(line_[end])) {
            ++end;
        }
        push(kind, end - at_);
    }

    void takeIndent()
    {
        size_t end = 0;
        while (end < line_.size() && isBlank(line_[end])) {
            ++end;
        }
        const size_t mark = listMark(end);
        if (end + mark > 0) {
            push(Kind::Indent, end + mark);
            tokens_.back().listItem = mark > 0;
        }
    }

    /// The length of "- ", "* ", "• ", "1. ", "2) ", "a) ", "# ", "[ ] " and the blanks behind it.
    [[nodiscard]] size_t listMark(size_t at) const
    {
        const std::string_view rest = line_.substr(at);
        size_t end = 0;
        if (rest.starts_with("•") || rest.starts_with("–") || rest.starts_with("—")) {
            end = 3;
        } else if (!rest.empty() && (rest[0] == '-' || rest[0] == '*' || rest[0] == '+')) {
            end = 1;
        } else if (!rest.empty() && rest[0] == '#') {
            end = std::min(rest.find_first_not_of('#'), rest.size());
        } else {
            while (end < rest.size() && end < 3 && isDigit(rest[end])) {
                ++end;
            }
            end = end == 0 && rest.size() > 1 && isLetter(rest[0]) && rest[1] == ')' ? 1 : end;
            end = end > 0 && end < rest.size() && (rest[end] == '.' || rest[end] == ')') ? end + 1 : 0;
        }
        if (end == 0 || end >= rest.size() || !isBlank(rest[end])) {
            return 0;
        }
        const size_t text = rest.find_first_not_of(" \t", end);
        const size_t length = text == std::string_view::npos ? rest.size() : text;
        for (const std::string_view box : {"[ ] ", "[x] ", "[X] "}) {
            if (rest.substr(length).starts_with(box)) {
                return length + box.size();
            }
        }
        return length;
    }

    /// A run without blanks: opaque as a whole, or words and marks.
    void takeChunk()
    {
        if (takeSpan()) {
            return;
        }
        size_t end = at_;
        while (end < line_.size() && !isBlank(line_[end]) && line_[end] != '`') {
            ++end;
        }
        const std::string_view chunk = line_.substr(at_, end - at_);
        const size_t first = std::min(chunk.find_first_not_of("([{\"'"), chunk.size());
        const size_t last = chunk.find_last_not_of(".,;:!?)]}\"'");
        if (first < chunk.size() && last != std::string_view::npos && last >= first) {
            takeCore(first, withAbbreviationStop(chunk, first, last + 1 - first), end);
        } else {
            takePieces(end);
        }
    }

    /// "e.g." and "a.m." keep their last full stop.
    [[nodiscard]] static size_t withAbbreviationStop(std::string_view chunk, size_t first, size_t length)
    {
        const std::string_view core = chunk.substr(first, length);
        const bool initials = length >= 3 && length % 2 == 1 && [&] {
            for (size_t i = 0; i < length; ++i) {
                if (i % 2 == 0 ? !isLetter(core[i]) : core[i] != '.') {
                    return false;
                }
            }
            return true;
        }();
        return initials && chunk.substr(first + length).starts_with('.') ? length + 1 : length;
    }

    void takeCore(size_t first, size_t length, size_t end)
    {
        if (!OpaqueText::isChunk(line_.substr(at_ + first, length))) {
            takePieces(end);
            return;
        }
        takePieces(at_ + first);
        push(Kind::Opaque, length);
        takePieces(end);
    }

    /// `code` and <tags>.
    bool takeSpan()
    {
        const char open = line_[at_];
        if (open != '`' && open != '<') {
            return false;
        }
        const size_t end = line_.find(open == '<' ? '>' : '`', at_ + 1);
        const bool tag =
            open == '<' && at_ + 1 < line_.size() && (isLetter(line_[at_ + 1]) || line_[at_ + 1] == '/');
        if (end == std::string_view::npos || (open == '<' && !tag)) {
            push(Kind::Opaque, 1);
        } else {
            push(Kind::Opaque, end + 1 - at_);
        }
        return true;
    }

    void takePieces(size_t end)
    {
        while (at_ < end) {
            takePiece(end);
        }
    }

    void takePiece(size_t end)
    {
        const Character character = characterAt(line_, at_);
        if (isDigit(line_[at_])) {
            takeNumber(end);
        } else if (character.letter) {
            takeWord(end);
        } else if (const size_t emoticon = emoticonAt(end); emoticon > 0) {
            push(Kind::Opaque, emoticon);
        } else if (character.length == 1) {
            size_t last = at_;
            while (last < end && line_[last] == line_[at_]) {
                ++last;
            }
            push(Kind::Punctuation, last - at_);
        } else {
            push(Kind::Punctuation, character.length);
        }
    }

    [[nodiscard]] size_t emoticonAt(size_t end) const
    {
        const std::string_view rest = line_.substr(at_, end - at_);
        for (const std::string_view face : {":-)", ":)", ";-)", ";)", ":-(", ":(", ":D", ":P", ":/", ":'("}) {
            if (rest.starts_with(face)) {
                return face.size();
            }
        }
        return 0;
    }

    void takeNumber(size_t end)
    {
        size_t last = at_;
        while (last < end &&
               (isDigit(line_[last]) || isLetter(line_[last]) || line_[last] == '%' ||
                (last + 1 < end && std::string_view(".,:'-").find(line_[last]) != std::string_view::npos &&
                 isDigit(line_[last + 1])))) {
            ++last;
        }
        push(Kind::Number, last - at_);
    }

    /// Letters with apostrophes inside. With a hyphen inside, or letters of another script, the whole is
    /// opaque.
    void takeWord(size_t end)
    {
        size_t last = at_;
        bool opaque = false;
        while (last < end) {
            const Character character = characterAt(line_, last);
            if (character.letter) {
                opaque = opaque || !character.latin;
                last += character.length;
                continue;
            }
            const size_t apostrophe = apostropheAt(line_, last);
            const bool hyphen = line_[last] == '-';
            const size_t join = hyphen ? 1 : apostrophe;
            if (join == 0 || last + join >= end || !characterAt(line_, last + join).letter) {
                break;
            }
            opaque = opaque || hyphen;
            last += join;
        }
        push(opaque ? Kind::Opaque : Kind::Word, last - at_);
    }

    std::string_view line_;
    Tokens& tokens_;
    size_t at_ = 0;
};

} // namespace

void splitLine(std::string_view line, Tokens& tokens)
{
    LineSplitter(line, tokens).split();
}

} // namespace quillmarsh::service
