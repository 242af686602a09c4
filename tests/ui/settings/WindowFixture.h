#pragma once

#include "support/FailOnWarnings.h"
#include "ui/settings/WindowDriver.h"

namespace quillmarsh::test {

/// The settings window of a user who is past the guide, for a test object to derive from.
class WindowFixture
{
protected:
    void setUp()
    {
        failOnWarnings();
        fixture_ = std::make_unique<SettingsFixture>();
        fixture_->rewrite.defaults.set("settingsSection", "Overview");
        makeWindow();
    }

    void tearDown()
    {
        driver_.reset();
        fixture_.reset();
    }

    void makeWindow() { driver_ = std::make_unique<WindowDriver>(*fixture_); }

    std::unique_ptr<SettingsFixture> fixture_;
    std::unique_ptr<WindowDriver> driver_;
};

} // namespace quillmarsh::test
