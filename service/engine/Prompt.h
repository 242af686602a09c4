#pragma once

#include <optional>
#include <string>

namespace quillmarsh::service {

/// What an AI service is told to do with the user's text, which follows as a message of its own.
[[nodiscard]] std::string systemPrompt(const std::optional<std::string>& instruction);

/// Puts the blanks and line ends around the original text around the answer, where models drop them.
[[nodiscard]] std::string withEdgesOf(const std::string& original, const std::string& answer);

} // namespace quillmarsh::service
