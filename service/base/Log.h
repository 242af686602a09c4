#pragma once

#include <string_view>

namespace quillmarsh::service {

/// One line to standard error, where the journal takes it. What is logged is chosen by the code, never copied
/// from a request or an answer: no text, no instruction, no token, no address of a caller.
void logInfo(std::string_view line);
void logWarning(std::string_view line);

} // namespace quillmarsh::service
