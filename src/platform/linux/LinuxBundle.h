#pragma once

#include "platform/Bundle.h"

namespace quillmarsh {

/// The bundle around the running executable, found once.
class LinuxBundle final : public Bundle
{
public:
    LinuxBundle();
    /// For an executable in `executableFolder`.
    explicit LinuxBundle(const QString& executableFolder);

    [[nodiscard]] QString path() const override { return path_; }
    [[nodiscard]] QVariantMap infoDictionary() const override { return info_; }
    [[nodiscard]] bool isPackageManaged() const override { return packageManaged_; }

private:
    QString path_;
    QVariantMap info_;
    bool packageManaged_ = false;
};

} // namespace quillmarsh
