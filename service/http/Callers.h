#pragma once

#include <set>
#include <string>
#include <variant>

#include "http/Problem.h"

namespace quillmarsh::service {

/// Who is calling. A caller is an installation, known by a token of its own: 32 random bytes in base64url.
/// Only the token's SHA-256 is ever kept.
class Callers final
{
public:
    /// Open registration: every well-formed token is a caller.
    Callers() = default;
    /// Only the tokens in a file: one token, or "sha256:" and the hash of one, per line; "#" begins a comment
    /// line. Throws ConfigError when the file cannot be read or a line is neither.
    explicit Callers(const std::string& tokensFile);

    /// The caller's hash for an "Authorization" header, or why the caller is refused.
    [[nodiscard]] std::variant<std::string, Problem> identify(const std::string& authorization) const;

private:
    bool open_ = true;
    std::set<std::string> known_;
};

} // namespace quillmarsh::service
