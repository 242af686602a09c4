#pragma once

#include <QObject>
#include <QString>

#include <optional>

namespace quillmarsh {

/// The hosted service's allowance as it last reported it.
struct CloudQuota
{
    qint64 limit = 0;                ///< allowance per period, in rewrites
    qint64 remaining = 0;            ///< what is left of it
    std::optional<QString> resetsAt; ///< when it renews, as the service formats it; shown as is

    bool operator==(const CloudQuota&) const = default;
};

/// Keeps the last report for the settings window. Not persisted: empty until the next hosted rewrite.
/// Main thread only.
class CloudUsage final : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    [[nodiscard]] static CloudUsage& shared();

    [[nodiscard]] const std::optional<CloudQuota>& quota() const { return quota_; }
    void setQuota(const CloudQuota& quota);

signals:
    void quotaChanged();

private:
    std::optional<CloudQuota> quota_;
};

} // namespace quillmarsh
