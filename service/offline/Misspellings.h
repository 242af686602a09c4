#pragma once

#include <string>

namespace quillmarsh::service {

/// The right spelling of a misspelling that people make often; empty for anything else. Both in lower case;
/// the result may be two words.
[[nodiscard]] std::string wellKnownCorrection(const std::string& lower);

} // namespace quillmarsh::service
