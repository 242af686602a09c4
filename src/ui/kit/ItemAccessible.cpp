#include "ui/kit/ItemAccessible.h"

#include "ui/kit/Pressable.h"
#include "ui/kit/TextInputAccessible.h"

#include <QQuickWindow>

namespace quillmarsh {

namespace {

QAccessibleInterface* make(const QString& className, QObject* object)
{
    if (className == QLatin1String("QQuickTextInput"))
        return new TextInputAccessible(static_cast<QQuickItem*>(object));
    if (className == QLatin1String("quillmarsh::Pressable"))
        return new PressableAccessible(static_cast<QQuickItem*>(object));
    return nullptr;
}

/// What a view says about the item with `Accessible.…`; null where it says nothing.
const QObject* attached(const QQuickItem* item)
{
    for (const QObject* child : item->children()) {
        if (child->inherits("QQuickAccessibleAttached"))
            return child;
    }
    return nullptr;
}

bool says(const QQuickItem* item, const char* property)
{
    const QObject* description = attached(item);
    return description && description->property(property).toBool();
}

/// The items that assistive technology sees below `item`: those between are passed through.
void collectChildren(const QQuickItem* item, QList<QQuickItem*>& children)
{
    for (QQuickItem* child : item->childItems()) {
        if (attached(child) && !says(child, "ignored"))
            children << child;
        else
            collectChildren(child, children);
    }
}

} // namespace

void ItemAccessible::install()
{
    QAccessible::installFactory(make);
}

ItemAccessible::ItemAccessible(QQuickItem* item) : QAccessibleObject(item) {}

QQuickItem* ItemAccessible::item() const
{
    return static_cast<QQuickItem*>(object());
}

QWindow* ItemAccessible::window() const
{
    return item()->window();
}

// The nearest item above that counts it among its children; not every item is known to assistive technology.
QAccessibleInterface* ItemAccessible::parent() const
{
    const QQuickWindow* root = item()->window();
    for (QQuickItem* above = item()->parentItem(); above && root && above != root->contentItem();
         above = above->parentItem()) {
        QAccessibleInterface* known = QAccessible::queryAccessibleInterface(above);
        if (known && known->indexOfChild(this) >= 0)
            return known;
    }
    return QAccessible::queryAccessibleInterface(item()->window());
}

QList<QQuickItem*> ItemAccessible::children() const
{
    QList<QQuickItem*> children;
    collectChildren(item(), children);
    return children;
}

QAccessibleInterface* ItemAccessible::child(int index) const
{
    return QAccessible::queryAccessibleInterface(children().value(index));
}

int ItemAccessible::childCount() const
{
    return int(children().size());
}

int ItemAccessible::indexOfChild(const QAccessibleInterface* child) const
{
    return int(children().indexOf(qobject_cast<QQuickItem*>(child->object())));
}

QString ItemAccessible::text(QAccessible::Text kind) const
{
    const QObject* description = attached(item());
    if (description && kind == QAccessible::Name)
        return description->property("name").toString();
    if (description && kind == QAccessible::Description)
        return description->property("description").toString();
    return {};
}

QAccessible::Role ItemAccessible::role() const
{
    const QObject* description = attached(item());
    return description ? description->property("role").value<QAccessible::Role>() : QAccessible::NoRole;
}

QAccessible::State ItemAccessible::state() const
{
    QAccessible::State state;
    state.disabled = !item()->isEnabled();
    state.invisible = !item()->isVisible() || !window() || !window()->isVisible();
    state.focusable = item()->isEnabled();
    state.focused = item()->hasActiveFocus();
    state.selectable = says(item(), "selectable");
    state.selected = says(item(), "selected");
    state.checkable = says(item(), "checkable");
    state.checked = says(item(), "checked");
    const QVariant opened = item()->property("opened"); // a control with a list that opens
    state.expandable = opened.isValid();
    state.expanded = opened.toBool();
    return state;
}

QRect ItemAccessible::rect() const
{
    return onDesktop(item()->boundingRect());
}

QRect ItemAccessible::onDesktop(const QRectF& place) const
{
    const QPoint origin = window() ? window()->mapToGlobal(QPoint()) : QPoint();
    return item()->mapRectToScene(place).toAlignedRect().translated(origin);
}

void* PressableAccessible::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::ActionInterface)
        return static_cast<QAccessibleActionInterface*>(this);
    return ItemAccessible::interface_cast(type);
}

QStringList PressableAccessible::actionNames() const
{
    return {pressAction(), setFocusAction()};
}

void PressableAccessible::doAction(const QString& name)
{
    if (name == pressAction())
        static_cast<Pressable*>(item())->click();
    else if (name == setFocusAction())
        item()->forceActiveFocus(Qt::TabFocusReason);
}

} // namespace quillmarsh
