#pragma once

#include <optional>
#include <string>

namespace quillmarsh::service {

/// What the offline engine can be asked for.
enum class Intent { Correct, Shorten, Formalise, Casualise };

/// What an instruction in plain English asks for: one of the intents, or nothing when it asks for anything
/// else, for more than one thing, or for something that this program does not understand. Absent or blank
/// means Correct.
[[nodiscard]] std::optional<Intent> recogniseIntent(const std::optional<std::string>& instruction);

} // namespace quillmarsh::service
