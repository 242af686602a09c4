#include "ai/SystemPrompt.h"

namespace quillmarsh {

QString buildSystemPrompt(const std::optional<QString>& instruction)
{
    if (!instruction || instruction->isEmpty()) {
        return QStringLiteral(
            "You are a writing assistant. Fix grammar, spelling, and punctuation errors in the provided "
            "text. Return ONLY the corrected text with no explanations, no quotes, no markdown formatting. "
            "Preserve the original meaning, tone, style, and formatting (line breaks, spacing, etc.). If the "
            "text is already correct, return it unchanged.");
    }
    return QStringLiteral("You are a writing assistant. ") + *instruction +
           QStringLiteral(
               " Return ONLY the rewritten text with no explanations, no quotes, no markdown formatting. "
               "Preserve the original formatting (line breaks, spacing, etc.).");
}

} // namespace quillmarsh
