#pragma once

#include "base/LocalizedError.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <optional>
#include <vector>

namespace quillmarsh {

struct Deployment;

/// The manifest could not be read as a release. Its description names what is wrong with it, never its
/// content.
class ManifestError final : public LocalizedError
{
public:
    using LocalizedError::LocalizedError;
};

/// One release as the update manifest describes it.
struct UpdateRelease
{
    QString version;   ///< short version, one to four dotted numbers
    QString url;       ///< where the archive lies, exactly as the manifest wrote it
    QStringList notes; ///< release notes, one line each; may be empty

    bool operator==(const UpdateRelease&) const = default;

    /// Reads a manifest. Throws ManifestError when a field is missing or of another type, when the version is
    /// not one, or when `url` is no address that this product may download from.
    [[nodiscard]] static UpdateRelease decode(const QByteArray& json, const Deployment& deployment);

    /// The address of the archive; none unless `url`, as written, has the scheme "https", no user name, no
    /// password, and the host of the update service, its "www." form or the host of the release pages. A host
    /// that the deployment gives with a port must match with that port.
    [[nodiscard]] std::optional<QUrl> downloadURL(const Deployment& deployment) const;

    /// Whether this release is newer than `installed`. Missing trailing numbers count as zero. False when one
    /// of the two is not a version: an installation that cannot be understood never receives an update.
    [[nodiscard]] bool isNewer(const QString& installed) const;

    /// The numbers of a version: one to four pieces of ASCII digits between dots, each within 64 signed bits.
    [[nodiscard]] static std::optional<std::vector<qint64>> versionParts(const QString& text);
};

} // namespace quillmarsh
