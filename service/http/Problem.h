#pragma once

#include <string>

namespace quillmarsh::service {

/// Why a request is refused.
struct Problem
{
    int status = 500;    ///< HTTP
    std::string code;    ///< for machines, stable
    std::string message; ///< for the user
};

} // namespace quillmarsh::service
