#include "ui/kit/Pressable.h"

#include <QAccessible>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QMouseEvent>

namespace quillmarsh {

Pressable::Pressable(QQuickItem* parent) : QQuickItem(parent)
{
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptHoverEvents(true);
    setActiveFocusOnTab(true);
    connect(this, &QQuickItem::activeFocusOnTabChanged, this, &Pressable::tabStopChanged);
}

void Pressable::click()
{
    if (isEnabled())
        emit clicked();
}

template <typename Change>
void Pressable::press(Change change)
{
    const bool before = pressed();
    change();
    if (pressed() != before)
        emit pressedChanged();
}

void Pressable::hoverEnterEvent(QHoverEvent*)
{
    setHovered(true);
}

void Pressable::hoverLeaveEvent(QHoverEvent*)
{
    setHovered(false);
}

void Pressable::mousePressEvent(QMouseEvent* event)
{
    forceActiveFocus(Qt::MouseFocusReason);
    press([this] { pointerDown_ = pointerInside_ = true; });
    event->accept();
}

void Pressable::mouseMoveEvent(QMouseEvent* event)
{
    press([&] { pointerInside_ = contains(event->position()); });
}

void Pressable::mouseReleaseEvent(QMouseEvent* event)
{
    const bool inside = pointerDown_ && contains(event->position());
    press([this] { pointerDown_ = false; });
    if (inside)
        click();
}

void Pressable::mouseUngrabEvent()
{
    press([this] { pointerDown_ = false; });
}

void Pressable::keyPressEvent(QKeyEvent* event)
{
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    const bool plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    if (!plain || (!isReturn && event->key() != Qt::Key_Space)) {
        event->ignore();
        return;
    }
    if (event->isAutoRepeat())
        return;
    setVisualFocus(true);
    if (isReturn)
        click();
    else
        press([this] { keyDown_ = true; });
}

void Pressable::keyReleaseEvent(QKeyEvent* event)
{
    if (event->key() != Qt::Key_Space || event->isAutoRepeat() || !keyDown_) {
        event->ignore();
        return;
    }
    press([this] { keyDown_ = false; });
    click();
}

void Pressable::focusInEvent(QFocusEvent* event)
{
    QQuickItem::focusInEvent(event);
    const auto reason = event->reason();
    setVisualFocus(reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason ||
                   reason == Qt::ShortcutFocusReason);
}

void Pressable::focusOutEvent(QFocusEvent* event)
{
    QQuickItem::focusOutEvent(event);
    setVisualFocus(false);
    press([this] { keyDown_ = false; });
}

void Pressable::itemChange(ItemChange change, const ItemChangeData& value)
{
    QQuickItem::itemChange(change, value);
    if (change == ItemEnabledHasChanged) {
        announceEnabled();
        emit hoveredChanged();
        press([this] { pointerDown_ = keyDown_ = false; });
    } else if (change == ItemVisibleHasChanged && !value.boolValue) {
        setHovered(false);
        press([this] { pointerDown_ = keyDown_ = false; });
    }
}

void Pressable::announceEnabled()
{
    if (!QAccessible::isActive())
        return;
    QAccessible::State changed;
    changed.disabled = true;
    QAccessibleStateChangeEvent event(this, changed);
    QAccessible::updateAccessibility(&event);
}

void Pressable::setHovered(bool hovered)
{
    if (hovered_ == hovered)
        return;
    hovered_ = hovered;
    emit hoveredChanged();
}

void Pressable::setVisualFocus(bool visualFocus)
{
    if (visualFocus_ == visualFocus)
        return;
    visualFocus_ = visualFocus;
    emit visualFocusChanged();
}

} // namespace quillmarsh
