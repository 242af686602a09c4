#include "ui/settings/KeyCaptureView.h"

#include <QKeyEvent>
#include <QQuickWindow>

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

// Accepting the override keeps the application's own key equivalents from taking the press.
bool KeyCaptureView::event(QEvent* event)
{
    if (event->type() != QEvent::ShortcutOverride)
        return QQuickItem::event(event);
    event->accept();
    return true;
}

void KeyCaptureView::keyPressEvent(QKeyEvent* event)
{
    event->accept();
    if (recorder_)
        recorder_->keyDown(*event);
}

void KeyCaptureView::keyReleaseEvent(QKeyEvent* event)
{
    event->accept();
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
    forceActiveFocus();
    if (window()->setKeyboardGrabEnabled(true))
        grabbed_ = window();
}

void KeyCaptureView::releaseKeyboard()
{
    if (grabbed_)
        grabbed_->setKeyboardGrabEnabled(false);
    grabbed_.clear();
}

} // namespace quillmarsh
