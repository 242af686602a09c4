#pragma once

#include "offline/Token.h"

namespace quillmarsh::service {

/// Appends the tokens of one line, without its end.
void splitLine(std::string_view line, Tokens& tokens);

} // namespace quillmarsh::service
