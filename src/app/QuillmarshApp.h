#pragma once

#include "base/Task.h"

#include <QObject>

#include <memory>

class QApplication;

namespace quillmarsh {

class QuitSignals;
class Windows;
struct Services;

/// The composition root and the life of the application: one instance, services started once, windows, and
/// an end that hands the clipboard over. Lives from after QApplication until the event loop has ended.
class QuillmarshApp final : public QObject
{
    Q_OBJECT

public:
    explicit QuillmarshApp(const QStringList& arguments);
    ~QuillmarshApp() override;

    /// Names the application to the desktop. Call before any window exists.
    static void describe(QApplication& application);

private:
    Task<> start(bool isRelaunch);
    void finishLaunching();
    void openSettings();
    Task<> mendInterruptedUpdate();
    Task<> showStatusIcon();
    Task<> openSettingsWithoutStatusBar();
    Task<> prepareHostedBackEnd();
    Task<> quit();

    std::unique_ptr<QuitSignals> quitSignals_;
    std::unique_ptr<Services> services_;
    std::unique_ptr<Windows> windows_;
    bool isLoginStart_ = false;
    bool isQuitting_ = false;
    bool areSettingsWanted_ = false;
};

} // namespace quillmarsh
