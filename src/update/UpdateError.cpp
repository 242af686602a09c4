#include "update/UpdateError.h"

namespace quillmarsh {

namespace {

QString sentence(UpdateError::Kind kind)
{
    switch (kind) {
    case UpdateError::Kind::InvalidURL:
        return QStringLiteral("The update download address is invalid.");
    case UpdateError::Kind::CheckFailed:
        return QStringLiteral("The update service is temporarily unavailable.");
    case UpdateError::Kind::DownloadFailed:
        return QStringLiteral("The update could not be downloaded.");
    case UpdateError::Kind::UnzipFailed:
        return QStringLiteral("The update could not be extracted.");
    case UpdateError::Kind::AppNotFound:
        return QStringLiteral("The download does not contain the expected version of Quillmarsh.");
    case UpdateError::Kind::InvalidSignature:
        return QStringLiteral("The update’s developer signature could not be verified.");
    case UpdateError::Kind::InstallFailed:
        break;
    }
    return QStringLiteral("The update could not be moved to Applications.");
}

} // namespace

UpdateError::UpdateError(Kind kind) : LocalizedError(sentence(kind)), kind_(kind) {}

} // namespace quillmarsh
