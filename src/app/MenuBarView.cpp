#include "app/MenuBarView.h"

#include "app/Foreground.h"
#include "app/MenuBarModel.h"
#include "platform/PanelWindow.h"
#include "platform/Workspace.h"
#include "ui/kit/Scene.h"

#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>

#include <algorithm>
#include <chrono>

namespace quillmarsh {

namespace {

using namespace std::chrono_literals;

constexpr int screenMargin = 8;
constexpr int anchorDistance = 6;
/// The press that turned away from the menu and the click on the icon that follows it are one gesture.
constexpr auto oneGesture = 300ms;

QScreen& screenAt(const QRect& anchor)
{
    QScreen* screen = QGuiApplication::screenAt(anchor.center());
    return screen ? *screen : *QGuiApplication::primaryScreen();
}

} // namespace

QRect menuFrame(const QRect& anchor, QSize size, const QRect& available)
{
    const QRect room = available.marginsRemoved({screenMargin, screenMargin, screenMargin, screenMargin});
    const QSize fitting = size.boundedTo(room.size());
    const bool below = anchor.center().y() < available.center().y();
    const int x = anchor.center().x() - fitting.width() / 2;
    const int y =
        below ? anchor.bottom() + 1 + anchorDistance : anchor.top() - anchorDistance - fitting.height();
    return {QPoint(std::clamp(x, room.left(), room.right() + 1 - fitting.width()),
                   std::clamp(y, room.top(), room.bottom() + 1 - fitting.height())),
            fitting};
}

MenuBarView::MenuBarView(MenuBarModel& model, PanelWindow& panelWindow, Workspace& workspace, QObject* parent)
    : QObject(parent), model_(model), panelWindow_(panelWindow), workspace_(workspace)
{
    connect(&model_, &MenuBarModel::closeRequested, this, &MenuBarView::close);
    connect(&workspace_, &Workspace::didActivateApplication, this, &MenuBarView::closeFor);
}

MenuBarView::~MenuBarView() = default;

void MenuBarView::open(const QRect& anchor)
{
    if (isOpen()) {
        window_->requestActivate();
        return;
    }
    anchor_ = anchor.isNull() ? QRect(panelWindow_.mouseLocation(), QSize(1, 1)) : anchor;
    model_.menuOpened();
    makeWindow();
    place();
    panelWindow_.leaveOutOfTaskBars(*window_);
    window_->show();
    bringToFront(*window_, workspace_);
    sinceOpened_.start();
}

void MenuBarView::close()
{
    if (!isOpen())
        return;
    // The window may be in the middle of the event that closes it.
    window_->disconnect(this);
    if (QQuickItem* root = window_->rootObject())
        root->disconnect(this);
    window_->hide();
    window_.release()->deleteLater();
    sinceClosed_.start();
    emit closed();
}

// A menu that never got the keyboard cannot lose it. The activation that the click on the icon has caused is
// none that turns away.
void MenuBarView::closeFor(const RunningApplication& application)
{
    if (isOpen() && !window_->isActive() && !isThisApplication(application) &&
        sinceOpened_.hasExpired(oneGesture.count()))
        close();
}

void MenuBarView::toggle(const QRect& anchor)
{
    if (isOpen())
        close();
    else if (!sinceClosed_.isValid() || sinceClosed_.hasExpired(oneGesture.count()))
        open(anchor);
}

void MenuBarView::makeWindow()
{
    window_ = std::make_unique<QQuickView>();
    window_->setTitle(QStringLiteral("Quillmarsh menu"));
    window_->setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    const bool isComposited = panelWindow_.isCompositing();
    QSurfaceFormat format = window_->requestedFormat();
    format.setAlphaBufferSize(isComposited ? 8 : 0);
    window_->setFormat(format);
    window_->setColor(isComposited ? Qt::transparent : Qt::white);
    showScene(*window_, QStringLiteral("qrc:/quillmarsh/app/MenuBarView.qml"),
              {{QStringLiteral("menu"), QVariant::fromValue(&model_)},
               {QStringLiteral("isComposited"), isComposited}});
    connectWindow();
}

void MenuBarView::connectWindow()
{
    if (QQuickItem* root = window_->rootObject()) {
        connect(root, &QQuickItem::implicitWidthChanged, this, &MenuBarView::place);
        connect(root, &QQuickItem::implicitHeightChanged, this, &MenuBarView::place);
        connect(root, SIGNAL(dismissed()), this, SLOT(close()));
    }
    connect(window_.get(), &QWindow::activeChanged, this, [this] {
        if (!window_->isActive())
            close();
    });
}

void MenuBarView::place()
{
    const QQuickItem* root = window_->rootObject();
    if (!root)
        return;
    const QSize size(static_cast<int>(root->implicitWidth()), static_cast<int>(root->implicitHeight()));
    window_->setGeometry(menuFrame(anchor_, size, screenAt(anchor_).availableGeometry()));
}

} // namespace quillmarsh
