#pragma once

#include <QObject>

#include <memory>

namespace quillmarsh {

class HotkeyService;
class InstallationModel;
class MenuBarLabel;
class MenuBarModel;
class MenuBarView;
class SettingsWindow;
class UpdateWindow;
struct Services;

/// The scenes of the application: the status icon with its menu, the settings window and the update window.
class Windows final : public QObject
{
    Q_OBJECT

public:
    /// `services` outlives the windows.
    explicit Windows(Services& services, QObject* parent = nullptr);
    ~Windows() override;

    void showStatusIcon();
    [[nodiscard]] bool hasStatusIcon() const { return hasStatusIcon_; }
    void openSettings();

signals:
    void quitRequested();

private:
    void connectAll();

    std::unique_ptr<InstallationModel> installation_;
    std::unique_ptr<SettingsWindow> settings_;
    std::unique_ptr<UpdateWindow> update_;
    std::unique_ptr<MenuBarModel> menuModel_;
    std::unique_ptr<MenuBarView> menu_;
    std::unique_ptr<MenuBarLabel> label_;
    bool hasStatusIcon_ = false;
};

} // namespace quillmarsh
