#include "app/Foreground.h"

#include "platform/Workspace.h"

#include <QCoreApplication>
#include <QTimer>
#include <QWindow>

namespace quillmarsh {

namespace {

using namespace std::chrono_literals;

/// A window manager that lets the window have the keyboard does so well within this time.
constexpr auto politeRequestTakes = 200ms;

} // namespace

void bringToFront(QWindow& window, Workspace& workspace)
{
    window.requestActivate();
    if (window.isActive())
        return;
    auto* patience = new QTimer(&window);
    patience->setSingleShot(true);
    QObject::connect(&window, &QWindow::activeChanged, patience, &QObject::deleteLater);
    QObject::connect(patience, &QTimer::timeout, &window, [&window, &workspace, patience] {
        patience->deleteLater();
        if (window.isVisible())
            workspace.activate({QCoreApplication::applicationPid(), {}, {}, window.winId(), 0});
    });
    patience->start(politeRequestTakes);
}

} // namespace quillmarsh
