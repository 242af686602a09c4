#pragma once

#include "ui/settings/SettingsEnvironment.h"

#include <QObject>

class QQuickView;

namespace quillmarsh {

class SettingsViewModels;

/// The application's one main window, titled "Quillmarsh". It is made when it is opened and destroyed when it
/// is closed. While this copy asks to be installed it shows the installation screen instead.
class SettingsWindow final : public QObject
{
    Q_OBJECT

public:
    explicit SettingsWindow(SettingsEnvironment environment, QObject* parent = nullptr);
    ~SettingsWindow() override;

    /// Opens the window, or brings the open one to the front.
    void show();
    void close();
    [[nodiscard]] bool isOpen() const { return view_ != nullptr; }
    /// Null while closed.
    [[nodiscard]] QQuickView* view() const { return view_.get(); }
    /// Null while closed, and on the installation screen.
    [[nodiscard]] SettingsViewModels* models() const { return models_.get(); }

signals:
    /// The window is gone and its memory free; a good moment to give it back to the system.
    void closed();

private:
    void open();
    void load();
    void release();

    SettingsEnvironment environment_;
    std::unique_ptr<SettingsViewModels> models_;
    std::unique_ptr<QQuickView> view_; ///< goes before what it shows
};

} // namespace quillmarsh
