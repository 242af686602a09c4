#pragma once

#include <QString>
#include <QVariantMap>

namespace quillmarsh {

/// The application bundle that this process runs from.
class Bundle
{
public:
    virtual ~Bundle() = default;

    /// Absolute path of the bundle folder ("…/Quillmarsh.app"); when the executable does not run from a
    /// bundle, the path of the folder that holds it.
    [[nodiscard]] virtual QString path() const = 0;
    /// The Info.plist of the bundle; empty when there is none or it cannot be read.
    [[nodiscard]] virtual QVariantMap infoDictionary() const = 0;
    /// Whether a package manager owns this copy (/usr, /opt, a sandbox): it is installed, and updated
    /// elsewhere.
    [[nodiscard]] virtual bool isPackageManaged() const = 0;
};

} // namespace quillmarsh
