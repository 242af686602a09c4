#include "ui/kit/KitWindow.h"

#include <QScreen>

namespace quillmarsh {

KitWindow::KitWindow(const QString& title)
{
    setTitle(title);
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
