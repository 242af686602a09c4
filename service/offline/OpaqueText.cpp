#include "offline/OpaqueText.h"

#include <algorithm>
#include <array>

#include "base/Text.h"
#include "offline/Token.h"
#include "offline/WordClasses.h"

namespace quillmarsh::service {

namespace {

bool contains(std::string_view text, std::string_view part)
{
    return text.find(part) != std::string_view::npos;
}

bool containsAny(std::string_view text, std::string_view characters)
{
    return text.find_first_of(characters) != std::string_view::npos;
}

/// A small letter followed by a capital, as in camelCase and iPhone; but not the second capital of McDonald.
bool hasInnerCapital(std::string_view chunk)
{
    for (size_t i = 1; i < chunk.size(); ++i) {
        if (isUpper(chunk[i]) && isLower(chunk[i - 1])) {
            return true;
        }
    }
    return false;
}

/// "tomorrow.thanks": a common word, a full stop and a word that begins a sentence.
bool isMissingBlank(std::string_view chunk)
{
    const size_t stop = chunk.find('.');
    return stop != std::string_view::npos && stop > 2 && isCommonWord(std::string(chunk.substr(0, stop))) &&
           opensSentence(std::string(chunk.substr(stop + 1)));
}

/// A full stop between letters or digits without a blank. "end.Next" is a missing blank and stays prose.
bool hasInnerStop(std::string_view chunk)
{
    if (isMissingBlank(chunk)) {
        return false;
    }
    for (size_t i = 1; i + 1 < chunk.size(); ++i) {
        const bool between = isLetter(chunk[i - 1]) || isDigit(chunk[i - 1]);
        if (chunk[i] == '.' && between && (isLower(chunk[i + 1]) || isDigit(chunk[i + 1]))) {
            return true;
        }
        if (chunk[i] == '.' && isUpper(chunk[i - 1]) && isUpper(chunk[i + 1])) {
            return true; // U.S., J.R.R.
        }
    }
    return false;
}

bool mixesLettersAndDigits(std::string_view chunk)
{
    const bool digits = std::any_of(chunk.begin(), chunk.end(), isDigit);
    return digits && std::any_of(chunk.begin(), chunk.end(), isLetter) && !isDigit(chunk.front());
}

} // namespace

bool OpaqueText::isLine(std::string_view line)
{
    const std::string_view text = trimmed(line);
    if (text.empty()) {
        return false;
    }
    constexpr std::array starts{"> ",      ">>",    "$ ",      "# include", "#include", "#!",
                                "//",      "/*",    "<?",      "</",        "</",       "|",
                                "import ", "def ",  "class ",  "function ", "const ",   "var ",
                                "return ", "sudo ", "SELECT ", "select * "};
    constexpr std::array marks{"();", "==",   "=>", "->",  "&&", "||", "::", "</", "/>",
                               " = ", " += ", "){", ") {", "++", "!=", "<=", ">="};
    const bool startsLikeCode = std::any_of(starts.begin(), starts.end(),
                                            [&](std::string_view mark) { return text.starts_with(mark); });
    const bool ends = text.ends_with(';') || text.ends_with('{') || text.ends_with('}') || text == "};";
    const bool marked =
        std::any_of(marks.begin(), marks.end(), [&](std::string_view mark) { return contains(text, mark); });
    // "import", "class" and "return" begin ordinary sentences too: only with a mark of code they are code
    const bool isWordStart = startsLikeCode && isLetter(text.front()) && !text.starts_with("sudo ") &&
                             !text.starts_with("SELECT ") && !text.starts_with("select * ");
    if (isWordStart) {
        return ends || marked || containsAny(text, "(){}=;*\"") || contains(text, " from '");
    }
    return startsLikeCode || ends || marked;
}

bool OpaqueText::isChunk(std::string_view chunk)
{
    if (chunk.empty()) {
        return false;
    }
    if (contains(chunk, "://") || chunk.starts_with("www.") || containsAny(chunk.substr(1), "@") ||
        containsAny(chunk, "\\_={}<>|`~^*+#@[]$%&/") || contains(chunk, "()")) {
        return true;
    }
    const size_t bracket = chunk.find('(');
    const bool isCall = bracket != std::string_view::npos && bracket > 0 &&
                        (isLetter(chunk[bracket - 1]) || isDigit(chunk[bracket - 1]));
    const bool isSuffix = chunk.size() > 1 && chunk[0] == '.' && isLetter(chunk[1]);
    return isCall || isSuffix || chunk.starts_with("-") || hasInnerStop(chunk) || hasInnerCapital(chunk) ||
           mixesLettersAndDigits(chunk);
}

} // namespace quillmarsh::service
