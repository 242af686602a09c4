#pragma once

#include <QString>

#include <optional>

namespace quillmarsh {

/// The system prompt of the key-based and ChatGPT back ends. An absent or empty instruction yields the fixed
/// correction prompt; one of only blanks counts as present. The user's text is never part of it.
[[nodiscard]] QString buildSystemPrompt(const std::optional<QString>& instruction);

} // namespace quillmarsh
