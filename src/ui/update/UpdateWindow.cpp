#include "ui/update/UpdateWindow.h"

#include "ui/kit/KitWindow.h"
#include "ui/kit/Scene.h"
#include "update/UpdatePrompt.h"

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
    prompt_ = std::make_unique<UpdatePrompt>(service_);
    connect(prompt_.get(), &UpdatePrompt::closeRequested, this, &UpdateWindow::close);
    auto window = std::make_unique<KitWindow>(QStringLiteral("Quillmarsh Update"));
    connect(window.get(), &KitWindow::closed, this, &UpdateWindow::release, Qt::QueuedConnection);
    window->setFlags(Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint);
    const QSize size = window->withTextScale(contentSize);
    window->setMinimumSize(size);
    window->setMaximumSize(size);
    window->takeMiddle(size);
    view_ = std::move(window);
    showScene(*view_, QStringLiteral("qrc:/quillmarsh/update/UpdatePromptView.qml"),
              {{QStringLiteral("prompt"), QVariant::fromValue(prompt_.get())}});
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
