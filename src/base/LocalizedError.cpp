#include "base/LocalizedError.h"

namespace quillmarsh {

QString errorDescription(const std::exception& error)
{
    if (const auto* localized = dynamic_cast<const LocalizedError*>(&error))
        return localized->errorDescription();
    return QStringLiteral("The operation couldn’t be completed.");
}

} // namespace quillmarsh
