#include "ui/settings/SettingsWindow.h"

#include "ui/kit/KitWindow.h"
#include "ui/kit/Scene.h"
#include "ui/settings/KeyCaptureView.h"
#include "ui/settings/SettingsViewModels.h"
#include "update/InstallationModel.h"

#include <QtQml/qqml.h>

namespace quillmarsh {

using namespace Qt::StringLiterals;

namespace {

constexpr QSize windowSize(900, 660);
constexpr QSize minimumSize(720, 520);

void registerSettingsTypes()
{
    static const bool once = [] {
        qmlRegisterType<KeyCaptureView>("Quillmarsh.Settings", 1, 0, "KeyCaptureView");
        return true;
    }();
    Q_UNUSED(once)
}

} // namespace

SettingsWindow::SettingsWindow(SettingsEnvironment environment, QObject* parent)
    : QObject(parent), environment_(std::move(environment))
{
    // Queued: the button that was pressed belongs to the screen that goes.
    const auto reload = [this] {
        if (view_)
            load();
    };
    connect(&environment_.installation, &InstallationModel::isNeededChanged, this, reload,
            Qt::QueuedConnection);
}

SettingsWindow::~SettingsWindow() = default;

void SettingsWindow::show()
{
    if (!view_) {
        open();
        view_->show();
    } else {
        // Also from a task list, and when it is just being closed; a maximised window stays so.
        view_->setWindowStates(view_->windowStates() & ~Qt::WindowMinimized);
        view_->setVisible(true);
        view_->raise();
    }
    view_->requestActivate();
}

void SettingsWindow::close()
{
    if (view_)
        view_->close();
}

void SettingsWindow::open()
{
    registerSettingsTypes();
    auto window = std::make_unique<KitWindow>(u"Quillmarsh"_s);
    connect(window.get(), &KitWindow::closed, this, &SettingsWindow::release, Qt::QueuedConnection);
    window->setMinimumSize(window->withTextScale(minimumSize));
    window->takeMiddle(window->withTextScale(windowSize));
    view_ = std::move(window);
    load();
}

void SettingsWindow::load()
{
    view_->setSource({});
    if (environment_.installation.isNeeded()) {
        models_.reset();
        showScene(*view_, u"qrc:/quillmarsh/update/InstallationView.qml"_s,
                  {{u"model"_s, QVariant::fromValue(&environment_.installation)}});
    } else {
        models_ = std::make_unique<SettingsViewModels>(environment_);
        showScene(*view_, u"qrc:/quillmarsh/settings/SettingsView.qml"_s,
                  {{u"models"_s, QVariant::fromValue(models_.get())}});
    }
}

void SettingsWindow::release()
{
    if (!view_ || view_->isVisible())
        return;
    view_.reset();
    models_.reset();
    emit closed();
}

} // namespace quillmarsh
