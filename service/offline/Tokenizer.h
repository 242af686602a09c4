#pragma once

#include "offline/Token.h"

namespace quillmarsh::service {

/// Splits a text into tokens, in time proportional to its length. `joined(tokenize(text)) == text` for every
/// text.
[[nodiscard]] Tokens tokenize(std::string_view text);

/// Marks the tokens that begin a sentence: at the begin of a paragraph, after a full stop, a question mark or
/// an exclamation mark that is not part of an abbreviation, and after the line of a greeting.
void markSentenceStarts(Tokens& tokens);

} // namespace quillmarsh::service
