#include "ui/settings/SettingsWindow.h"

#include "base/Log.h"
#include "ui/kit/AppDesign.h"
#include "ui/kit/KitTypes.h"
#include "ui/settings/KeyCaptureView.h"
#include "ui/settings/SettingsViewModels.h"
#include "update/InstallationModel.h"

#include <QQmlError>
#include <QQuickView>
#include <QScreen>
#include <QtQml/qqml.h>

namespace quillmarsh {

using namespace Qt::StringLiterals;

namespace {

constexpr QSize windowSize(900, 660);
constexpr QSize minimumSize(720, 520);

/// Larger text needs a larger window, as far as the screen has the room.
QSize withTextScale(QSize size, QSize room)
{
    constexpr int ordinary = 100;
    const qreal scale = AppDesign::font(ordinary).pixelSize() / qreal(ordinary);
    return (QSizeF(size) * scale).toSize().boundedTo(room).expandedTo(size);
}

void registerSettingsTypes()
{
    static const bool once = [] {
        qmlRegisterType<KeyCaptureView>("Quillmarsh.Settings", 1, 0, "KeyCaptureView");
        return true;
    }();
    Q_UNUSED(once)
}

/// Tells when its user closes it.
class ClosingView final : public QQuickView
{
public:
    explicit ClosingView(std::function<void()> closed) : closed_(std::move(closed)) {}

private:
    bool event(QEvent* event) override
    {
        const bool handled = QQuickView::event(event);
        if (event->type() == QEvent::Close && event->isAccepted())
            closed_();
        return handled;
    }

    std::function<void()> closed_;
};

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
        view_->showNormal(); // also from a task list, and when it is just being closed
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
    registerKitTypes();
    registerSettingsTypes();
    // Queued: the view is destroyed, and it is still handling the event.
    view_ = std::make_unique<ClosingView>(
        [this] { QMetaObject::invokeMethod(this, &SettingsWindow::release, Qt::QueuedConnection); });
    view_->setTitle(u"Quillmarsh"_s);
    view_->setResizeMode(QQuickView::SizeRootObjectToView);
    const QRect room = view_->screen()->availableGeometry();
    const QSize size = withTextScale(windowSize, room.size());
    view_->setMinimumSize(withTextScale(minimumSize, room.size()));
    view_->resize(size);
    view_->setPosition(room.center() - QRect({}, size).center());
    load();
}

void SettingsWindow::load()
{
    view_->setSource({});
    if (environment_.installation.isNeeded()) {
        models_.reset();
        view_->setInitialProperties({{u"model"_s, QVariant::fromValue(&environment_.installation)}});
        view_->setSource(QUrl(u"qrc:/quillmarsh/update/InstallationView.qml"_s));
    } else {
        models_ = std::make_unique<SettingsViewModels>(environment_);
        view_->setInitialProperties({{u"models"_s, QVariant::fromValue(models_.get())}});
        view_->setSource(QUrl(u"qrc:/quillmarsh/settings/SettingsView.qml"_s));
    }
    for (const QQmlError& error : view_->errors())
        qCCritical(lcQuillmarsh, "The settings window: %s", qUtf8Printable(error.toString()));
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
