#pragma once

#include <QString>
#include <QVariantMap>

namespace quillmarsh {

/// A "Name.app" folder: Contents/Info.plist, Contents/Linux with the executable, Contents/Resources.
class BundleFolder final
{
public:
    explicit BundleFolder(QString path) : path_(std::move(path)) {}

    /// The bundle that `executableFolder` is the Contents/Linux of; none when it is not in one.
    [[nodiscard]] static std::optional<BundleFolder> around(const QString& executableFolder);

    [[nodiscard]] const QString& path() const { return path_; }
    /// Contents/Info.plist, XML or binary; empty when it is missing or broken (logged).
    [[nodiscard]] QVariantMap infoDictionary() const;
    /// Absolute path of the executable that Info.plist names; empty when it does not stay inside the bundle.
    [[nodiscard]] QString executable() const;

private:
    QString path_;
};

} // namespace quillmarsh
