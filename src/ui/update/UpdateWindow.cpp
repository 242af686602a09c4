#include "ui/update/UpdateWindow.h"

#include "base/Log.h"
#include "ui/kit/KitTypes.h"
#include "update/UpdatePrompt.h"

#include <QEvent>
#include <QQmlError>
#include <QQuickView>
#include <QScreen>

namespace quillmarsh {

namespace {

constexpr QSize contentSize(470, 360);

} // namespace

UpdateWindow::UpdateWindow(UpdateService& service, QObject* parent) : QObject(parent), service_(service) {}

UpdateWindow::~UpdateWindow() = default;

void UpdateWindow::show()
{
    if (!view_)
        open();
    view_->show();
    view_->raise();
    view_->requestActivate();
}

void UpdateWindow::close()
{
    if (view_)
        view_->close();
}

void UpdateWindow::open()
{
    registerKitTypes();
    prompt_ = std::make_unique<UpdatePrompt>(service_);
    view_ = std::make_unique<QQuickView>();
    connect(prompt_.get(), &UpdatePrompt::closeRequested, this, &UpdateWindow::close);
    view_->installEventFilter(this);
    view_->setTitle(QStringLiteral("Quillmarsh Update"));
    view_->setFlags(Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint);
    view_->setResizeMode(QQuickView::SizeRootObjectToView);
    view_->setMinimumSize(contentSize);
    view_->setMaximumSize(contentSize);
    view_->resize(contentSize);
    const QRect room = view_->screen()->availableGeometry();
    view_->setPosition(room.center() - QRect({}, contentSize).center());
    view_->setInitialProperties({{QStringLiteral("prompt"), QVariant::fromValue(prompt_.get())}});
    view_->setSource(QUrl(QStringLiteral("qrc:/quillmarsh/update/UpdatePromptView.qml")));
    for (const QQmlError& error : view_->errors())
        qCCritical(lcQuillmarsh, "The update window: %s", qUtf8Printable(error.toString()));
}

bool UpdateWindow::eventFilter(QObject* watched, QEvent* event)
{
    // Queued: the window is still handling the event that ends it.
    if (watched == view_.get() && event->type() == QEvent::Close)
        QMetaObject::invokeMethod(this, &UpdateWindow::release, Qt::QueuedConnection);
    return QObject::eventFilter(watched, event);
}

void UpdateWindow::release()
{
    if (!view_ || view_->isVisible())
        return;
    view_.reset();
    prompt_.reset();
    emit closed();
}

} // namespace quillmarsh
