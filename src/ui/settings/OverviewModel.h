#pragma once

#include "update/UpdateSettingsRow.h"

namespace quillmarsh {

class AppSettings;

/// The overview: two figures and the update row.
class OverviewModel final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(qint64 activeShortcutCount READ activeShortcutCount NOTIFY activeShortcutCountChanged)
    Q_PROPERTY(qint64 completedRewriteCount READ completedRewriteCount NOTIFY completedRewriteCountChanged)
    Q_PROPERTY(quillmarsh::UpdateSettingsRow* update READ update CONSTANT)
    Q_PROPERTY(bool isChecking READ isChecking NOTIFY updateChanged)
    Q_PROPERTY(QString updateProblem READ updateProblem NOTIFY updateChanged)

public:
    /// Both outlive the model.
    OverviewModel(AppSettings& settings, UpdateService& updates, QObject* parent = nullptr);

    [[nodiscard]] qint64 activeShortcutCount() const;
    [[nodiscard]] qint64 completedRewriteCount() const;
    [[nodiscard]] UpdateSettingsRow* update() { return &update_; }
    [[nodiscard]] bool isChecking() const;
    /// Why the last check failed; empty otherwise. A failed automatic check is visible nowhere else.
    [[nodiscard]] QString updateProblem() const;

signals:
    void activeShortcutCountChanged();
    void completedRewriteCountChanged();
    void updateChanged();

private:
    AppSettings& settings_;
    UpdateService& updates_;
    UpdateSettingsRow update_;
};

} // namespace quillmarsh
