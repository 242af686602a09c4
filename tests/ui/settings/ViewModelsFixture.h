#pragma once

#include "support/FailOnWarnings.h"
#include "ui/settings/SettingsFixture.h"
#include "ui/settings/SettingsViewModels.h"

namespace quillmarsh::test {

/// The view-models of the settings window without a window, for a test object to derive from.
class ViewModelsFixture
{
protected:
    void setUp()
    {
        failOnWarnings();
        fixture_ = std::make_unique<SettingsFixture>();
        makeModels();
    }

    void tearDown()
    {
        models_.reset();
        fixture_.reset();
    }

    /// New ones, as after another start with these accounts; the first is active.
    void makeModels(const QList<CodexTokens>& profiles = {})
    {
        models_.reset();
        fixture_->makeAccounts(profiles);
        models_ = std::make_unique<SettingsViewModels>(fixture_->environment());
    }

    std::unique_ptr<SettingsFixture> fixture_;
    std::unique_ptr<SettingsViewModels> models_;
};

} // namespace quillmarsh::test
