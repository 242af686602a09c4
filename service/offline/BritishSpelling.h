#pragma once

#include <string>

namespace quillmarsh::service {

class Lexicon;

/// Whether a lower-case word that an American dictionary does not know is right in British, Irish,
/// Australian, … English.
[[nodiscard]] bool isBritishSpelling(const std::string& lower, const Lexicon& lexicon);

} // namespace quillmarsh::service
