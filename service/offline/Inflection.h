#pragma once

#include <string>
#include <string_view>

namespace quillmarsh::service {

/// Makes one form of an English word from another, both in lower case.
using Inflection = std::string (*)(const std::string&);

/// The form that a rule asks for: "-base" or "-pp", the participle, of an irregular past form, "-s" for the
/// third person, "-plain" without that -s, "-they" of "is", "was" and "has", "-it" of "are" and "were",
/// "-aux" of "won't", "-ing",
/// "-plural", "-name" with a capital, "-stem" for what stands before an apostrophe; null for any other name.
[[nodiscard]] Inflection inflectionNamed(std::string_view name);

} // namespace quillmarsh::service
