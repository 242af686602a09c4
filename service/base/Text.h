#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillmarsh::service {

/// Whether the bytes are well-formed UTF-8 (RFC 3629: no overlong forms, no surrogates, nothing above
/// U+10FFFF).
[[nodiscard]] bool isValidUtf8(std::string_view bytes);

/// User-perceived characters (extended grapheme clusters, UAX #29): an emoji with modifiers counts as one.
/// Counting stops at `enough`, which is then the result.
[[nodiscard]] size_t countCharacters(std::string_view utf8, size_t enough);

/// Without blanks, tabs and line ends around it.
[[nodiscard]] std::string_view trimmed(std::string_view text);
/// ASCII letters in lower case, everything else as it is.
[[nodiscard]] std::string asciiLower(std::string_view text);
/// The pieces between separators, trimmed, without empty ones.
[[nodiscard]] std::vector<std::string> splitList(std::string_view text, char separator);
/// The bytes of a base64url text without padding; nothing when it is malformed.
[[nodiscard]] std::optional<std::string> decodeBase64Url(std::string_view text);
/// SHA-256 in lower-case hexadecimal.
[[nodiscard]] std::string sha256Hex(std::string_view bytes);

} // namespace quillmarsh::service
