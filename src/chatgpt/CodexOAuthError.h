#pragma once

#include "base/LocalizedError.h"

namespace quillmarsh {

/// A failure of the ChatGPT connection: one sentence for the user.
class CodexOAuthError final : public LocalizedError
{
public:
    using LocalizedError::LocalizedError;
};

} // namespace quillmarsh
