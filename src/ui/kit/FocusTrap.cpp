#include "ui/kit/FocusTrap.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QQuickWindow>

namespace quillmarsh {

FocusTrap::FocusTrap(QQuickItem* parent) : QQuickItem(parent)
{
    setFlag(ItemIsFocusScope);
}

FocusTrap::~FocusTrap() = default;

void FocusTrap::setActive(bool active)
{
    if (active_ == active)
        return;
    active_ = active;
    setAcceptedMouseButtons(active ? Qt::AllButtons : Qt::NoButton);
    setAcceptHoverEvents(active);
    if (active_)
        begin();
    else
        end();
    emit activeChanged();
}

void FocusTrap::begin()
{
    previousFocus_ = window() ? window()->activeFocusItem() : nullptr;
    watch(window());
    forceActiveFocus(Qt::PopupFocusReason);
}

void FocusTrap::end()
{
    watch(nullptr);
    if (previousFocus_ && previousFocus_->isVisible())
        previousFocus_->forceActiveFocus(Qt::PopupFocusReason);
    else
        setFocus(false);
    previousFocus_ = nullptr;
}

void FocusTrap::watch(QQuickWindow* window)
{
    if (window_)
        window_->removeEventFilter(this);
    window_ = window;
    if (window_)
        window_->installEventFilter(this);
}

void FocusTrap::moveFocus(bool forward)
{
    QQuickItem* start = window() ? window()->activeFocusItem() : nullptr;
    if (!start || !isAncestorOf(start))
        start = this;
    QQuickItem* item = start->nextItemInFocusChain(forward);
    // The chain is a circle through the whole window: stop after one round.
    for (int steps = 0; item && item != start && !isAncestorOf(item) && steps < 1000; ++steps)
        item = item->nextItemInFocusChain(forward);
    if (item && isAncestorOf(item))
        item->forceActiveFocus(forward ? Qt::TabFocusReason : Qt::BacktabFocusReason);
}

bool FocusTrap::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress)
        return QQuickItem::eventFilter(watched, event);
    const auto* key = static_cast<QKeyEvent*>(event);
    const bool forward = key->key() == Qt::Key_Tab;
    if ((!forward && key->key() != Qt::Key_Backtab) || (key->modifiers() & Qt::ControlModifier))
        return QQuickItem::eventFilter(watched, event);
    moveFocus(forward);
    return true;
}

void FocusTrap::mousePressEvent(QMouseEvent* event)
{
    event->accept();
}

void FocusTrap::wheelEvent(QWheelEvent* event)
{
    event->setAccepted(active_);
}

void FocusTrap::itemChange(ItemChange change, const ItemChangeData& value)
{
    if (change == ItemSceneChange && active_)
        watch(value.window);
    QQuickItem::itemChange(change, value);
}

} // namespace quillmarsh
