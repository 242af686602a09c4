#include "offline/Tokenizer.h"

#include <algorithm>

#include "offline/LineSplitter.h"
#include "offline/OpaqueText.h"

namespace quillmarsh::service {

namespace {

using Kind = Token::Kind;

constexpr std::string_view fence = "```";

} // namespace

Tokens tokenize(std::string_view text)
{
    Tokens tokens;
    bool fenced = false;
    while (!text.empty()) {
        size_t end = text.find('\n');
        end = end == std::string_view::npos ? text.size() : end;
        const size_t content = end > 0 && end < text.size() && text[end - 1] == '\r' ? end - 1 : end;
        const std::string_view line = text.substr(0, content);
        const bool fenceLine = line.find(fence) != std::string_view::npos;
        if (fenced || fenceLine || OpaqueText::isLine(line)) {
            tokens.push_back({Kind::Opaque, std::string(line)});
        } else {
            splitLine(line, tokens);
        }
        fenced = fenced != fenceLine;
        if (end < text.size()) {
            tokens.push_back({Kind::LineEnd, std::string(text.substr(content, end + 1 - content))});
        }
        text.remove_prefix(std::min(text.size(), end + 1));
    }
    return tokens;
}

} // namespace quillmarsh::service
