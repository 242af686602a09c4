#pragma once

#include "base/LocalizedError.h"

#include <system_error>

namespace quillmarsh {

/// A file could not be made, written or moved. Its description says why, without naming the file.
class FileError final : public LocalizedError
{
public:
    explicit FileError(std::error_code code);

    [[nodiscard]] const std::error_code& code() const { return code_; }

    /// The reason that the last system call of this thread left in errno.
    [[nodiscard]] static FileError last();

private:
    std::error_code code_;
};

} // namespace quillmarsh
