#pragma once

#include <QByteArray>
#include <QList>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace quillmarsh::fuzz {

inline QByteArray bytes(const std::uint8_t* data, std::size_t size)
{
    return QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
}

/// A broken promise of the code under test ends the run like a crash.
inline void require(bool condition)
{
    if (!condition)
        std::abort();
}

} // namespace quillmarsh::fuzz
