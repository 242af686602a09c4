#include "ui/kit/KitWindow.h"

#include "ui/kit/AppDesign.h"

#include <QScreen>

namespace quillmarsh {

KitWindow::KitWindow(const QString& title)
{
    setTitle(title);
}

QSize KitWindow::withTextScale(const QSize& size) const
{
    constexpr int titleBar = 40; // nobody knows its height before the window is shown
    const QSize room = screen()->availableSize() - QSize(0, titleBar);
    return (QSizeF(size) * AppDesign::textScale()).toSize().boundedTo(room);
}

void KitWindow::takeMiddle(const QSize& size)
{
    resize(size);
    setPosition(screen()->availableGeometry().center() - QRect({}, size).center());
}

bool KitWindow::event(QEvent* event)
{
    const bool handled = QQuickView::event(event);
    if (event->type() == QEvent::Close && event->isAccepted())
        emit closed();
    return handled;
}

} // namespace quillmarsh
