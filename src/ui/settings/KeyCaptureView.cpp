#include "ui/settings/KeyCaptureView.h"

#include <QKeyEvent>
#include <QQuickWindow>

#include <utility>

namespace quillmarsh {

KeyCaptureView::KeyCaptureView(QQuickItem* parent) : QQuickItem(parent)
{
    setFlag(ItemIsFocusScope);
    setActiveFocusOnTab(false);
}

KeyCaptureView::~KeyCaptureView()
{
    releaseKeyboard();
}

// The keys are taken at the window, before its key equivalents and the way from field to field have a say.
bool KeyCaptureView::eventFilter(QObject* watched, QEvent* event)
{
    const bool isPress = event->type() == QEvent::KeyPress;
    if (!isPress && event->type() != QEvent::KeyRelease && event->type() != QEvent::ShortcutOverride)
        return QQuickItem::eventFilter(watched, event);
    if (!hasActiveFocus() || !recorder_)
        return QQuickItem::eventFilter(watched, event);
    event->accept();
    if (isPress)
        recorder_->keyDown(*static_cast<QKeyEvent*>(event));
    return true;
}

void KeyCaptureView::focusOutEvent(QFocusEvent* event)
{
    QQuickItem::focusOutEvent(event);
    releaseKeyboard();
    if (recorder_)
        recorder_->cancel();
}

void KeyCaptureView::itemChange(ItemChange change, const ItemChangeData& value)
{
    QQuickItem::itemChange(change, value);
    if (change != ItemSceneChange)
        return;
    releaseKeyboard();
    if (value.window)
        QMetaObject::invokeMethod(this, &KeyCaptureView::takeKeyboard, Qt::QueuedConnection);
}

void KeyCaptureView::takeKeyboard()
{
    if (!window())
        return;
    forceActiveFocus(Qt::OtherFocusReason);
    watched_ = window();
    watched_->installEventFilter(this);
    isGrabbing_ = watched_->setKeyboardGrabEnabled(true);
}

void KeyCaptureView::releaseKeyboard()
{
    if (!watched_)
        return;
    watched_->removeEventFilter(this);
    if (std::exchange(isGrabbing_, false))
        watched_->setKeyboardGrabEnabled(false);
    watched_.clear();
}

} // namespace quillmarsh
