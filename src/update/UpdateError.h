#pragma once

#include "base/LocalizedError.h"

namespace quillmarsh {

/// How an update fails. Each kind has the one sentence that the user reads.
class UpdateError final : public LocalizedError
{
public:
    enum class Kind {
        InvalidURL,
        CheckFailed,
        DownloadFailed,
        UnzipFailed,
        AppNotFound,
        InvalidSignature,
        InstallFailed,
    };

    explicit UpdateError(Kind kind);

    [[nodiscard]] Kind kind() const { return kind_; }
    bool operator==(const UpdateError& other) const { return kind_ == other.kind_; }

private:
    Kind kind_;
};

} // namespace quillmarsh
