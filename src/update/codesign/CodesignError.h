#pragma once

#include "base/LocalizedError.h"

namespace quillmarsh {

/// Why a bundle is not signed as it has to be; the description is what the tool prints.
class CodesignError final : public LocalizedError
{
public:
    using LocalizedError::LocalizedError;
};

} // namespace quillmarsh
