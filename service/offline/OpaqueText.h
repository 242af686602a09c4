#pragma once

#include <string_view>

namespace quillmarsh::service {

/// Tells what in a text is not prose and therefore not touched.
class OpaqueText final
{
public:
    /// A whole line of program text, shell, markup, a table or a quotation of somebody else's mail.
    [[nodiscard]] static bool isLine(std::string_view line);
    /// A run without blanks, punctuation around it removed: a link, an e-mail address, a path, a name of a
    /// file, an identifier, a hashtag, a mention, an option, an abbreviation with full stops, letters mixed
    /// with digits.
    [[nodiscard]] static bool isChunk(std::string_view chunk);
};

} // namespace quillmarsh::service
