#pragma once

#include <string_view>
#include <variant>

#include "engine/Engine.h"
#include "http/Problem.h"

namespace quillmarsh::service {

/// The most user-perceived characters that a text or an instruction may have.
inline constexpr size_t maximumCharacters = 10'000;

/// Reads the body of `POST /api/rewrite`: a JSON object with "text" and, if wanted, "instruction", both
/// strings, nothing else. Anything else is a Problem whose text says what to change.
[[nodiscard]] std::variant<RewriteJob, Problem> readRewriteRequest(std::string_view body);

} // namespace quillmarsh::service
