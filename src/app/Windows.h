#pragma once

#include <QObject>

#include <memory>

namespace quillmarsh {

class IdleMemory;
class InstallationModel;
class MenuBarLabel;
class MenuBarModel;
class MenuBarView;
class QuillmarshCommands;
class RewriteOverlayController;
class RewriteService;
class SettingsWindow;
class UpdateWindow;
class Workspace;
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
    void connectMemory();
    [[nodiscard]] bool isInUse() const;
    void openUpdate();
    void openCommands();

    Workspace& workspace_;
    RewriteService& rewrites_;
    RewriteOverlayController& overlay_;
    std::unique_ptr<InstallationModel> installation_;
    std::unique_ptr<SettingsWindow> settings_;
    std::unique_ptr<UpdateWindow> update_;
    std::unique_ptr<MenuBarModel> menuModel_;
    std::unique_ptr<MenuBarView> menu_;
    std::unique_ptr<QuillmarshCommands> commands_;
    std::unique_ptr<MenuBarLabel> label_;
    std::unique_ptr<IdleMemory> memory_;
    bool hasStatusIcon_ = false;
};

} // namespace quillmarsh
