#include "ui/kit/TextInputAccessible.h"

#include <QQuickItem>

namespace quillmarsh {

QString TextInputAccessible::text(QAccessible::Text kind) const
{
    return kind == QAccessible::Value ? displayed() : ItemAccessible::text(kind);
}

QAccessible::State TextInputAccessible::state() const
{
    constexpr int password = 2; // TextInput.Password
    QAccessible::State state = ItemAccessible::state();
    state.editable = true;
    state.selectableText = true;
    state.readOnly = object()->property("readOnly").toBool();
    state.passwordEdit = number("echoMode") == password;
    return state;
}

void* TextInputAccessible::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::TextInterface)
        return static_cast<QAccessibleTextInterface*>(this);
    if (type == QAccessible::ActionInterface)
        return static_cast<QAccessibleActionInterface*>(this);
    return ItemAccessible::interface_cast(type);
}

void TextInputAccessible::selection(int index, int* start, int* end) const
{
    const bool exists = index == 0 && selectionCount() == 1;
    *start = exists ? number("selectionStart") : 0;
    *end = exists ? number("selectionEnd") : 0;
}

int TextInputAccessible::selectionCount() const
{
    return number("selectionStart") != number("selectionEnd") ? 1 : 0;
}

void TextInputAccessible::addSelection(int start, int end)
{
    setSelection(0, start, end);
}

void TextInputAccessible::removeSelection(int)
{
    QMetaObject::invokeMethod(object(), "deselect");
}

void TextInputAccessible::setSelection(int, int start, int end)
{
    QMetaObject::invokeMethod(object(), "select", Q_ARG(int, start), Q_ARG(int, end));
}

int TextInputAccessible::cursorPosition() const
{
    return number("cursorPosition");
}

void TextInputAccessible::setCursorPosition(int position)
{
    object()->setProperty("cursorPosition", position);
}

QString TextInputAccessible::text(int start, int end) const
{
    return displayed().mid(start, end < 0 ? -1 : end - start);
}

int TextInputAccessible::characterCount() const
{
    return int(displayed().size());
}

QRect TextInputAccessible::characterRect(int offset) const
{
    QRectF place;
    QMetaObject::invokeMethod(object(), "positionToRectangle", Q_RETURN_ARG(QRectF, place),
                              Q_ARG(int, offset));
    return onDesktop(place);
}

int TextInputAccessible::offsetAtPoint(const QPoint& point) const
{
    for (int offset = 0; offset < characterCount(); ++offset) {
        if (point.x() < characterRect(offset + 1).left())
            return offset;
    }
    return characterCount();
}

void TextInputAccessible::scrollToSubstring(int, int) {}

QString TextInputAccessible::attributes(int, int* start, int* end) const
{
    *start = 0;
    *end = characterCount();
    return {};
}

QStringList TextInputAccessible::actionNames() const
{
    return {setFocusAction()};
}

void TextInputAccessible::doAction(const QString& name)
{
    if (name == setFocusAction())
        item()->forceActiveFocus(Qt::OtherFocusReason);
}

QString TextInputAccessible::displayed() const
{
    return object()->property("displayText").toString();
}

int TextInputAccessible::number(const char* property) const
{
    return object()->property(property).toInt();
}

} // namespace quillmarsh
