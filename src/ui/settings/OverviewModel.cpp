#include "ui/settings/OverviewModel.h"

#include "rewrite/AppSettings.h"
#include "update/UpdateService.h"

namespace quillmarsh {

OverviewModel::OverviewModel(AppSettings& settings, UpdateService& updates, QObject* parent)
    : QObject(parent), settings_(settings), updates_(updates), update_(updates)
{
    connect(&settings, &AppSettings::instructionShortcutsChanged, this,
            &OverviewModel::activeShortcutCountChanged);
    connect(&settings, &AppSettings::completedRewriteCountChanged, this,
            &OverviewModel::completedRewriteCountChanged);
    connect(&updates, &UpdateService::isCheckingChanged, this, &OverviewModel::updateChanged);
    connect(&updates, &UpdateService::lastCheckResultChanged, this, &OverviewModel::updateChanged);
}

qint64 OverviewModel::activeShortcutCount() const
{
    return settings_.activeShortcutCount();
}

qint64 OverviewModel::completedRewriteCount() const
{
    return settings_.completedRewriteCount();
}

bool OverviewModel::isChecking() const
{
    return updates_.isChecking();
}

QString OverviewModel::updateProblem() const
{
    const auto& result = updates_.lastCheckResult();
    if (!result || updates_.isChecking())
        return {};
    const auto* error = std::get_if<CheckResult::Error>(&result->value);
    return error ? error->text : QString();
}

} // namespace quillmarsh
