#pragma once

#include "ui/settings/WindowDriver.h"

#include <functional>
#include <memory>
#include <vector>

namespace quillmarsh::test {

/// One state of the settings window: how it comes about, and the product's own texts that it shows.
struct WindowState
{
    QString name;
    SettingsSection section = SettingsSection::general;
    QStringList texts;
    std::function<void(SettingsFixture&)> before;                 ///< the window opens
    std::function<void(SettingsFixture&, WindowDriver&)> after{}; ///< the section is shown
};

/// Every main state of every section, of the editor, the tutorial and the screens in place of the window.
[[nodiscard]] const std::vector<WindowState>& windowStates();

/// A row per state, with its position as the one column.
void addStateRows();

/// The window in one of its states.
class StatefulWindow
{
public:
    explicit StatefulWindow(const WindowState& state);

    SettingsFixture fixture;
    std::unique_ptr<WindowDriver> driver;
};

} // namespace quillmarsh::test
