#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace quillmarsh::service::fuzz {

/// A broken promise ends the run like a crash.
inline void require(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

} // namespace quillmarsh::service::fuzz
