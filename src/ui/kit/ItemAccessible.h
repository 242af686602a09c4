#pragma once

#include <QAccessible>
#include <QAccessibleObject>

class QQuickItem;

namespace quillmarsh {

/// An item of a view for assistive technology, described by its attached `Accessible` object. The toolkit's
/// own does not tell that a control is disabled, and hands out the text behind a hidden one.
class ItemAccessible : public QAccessibleObject
{
public:
    /// Has the toolkit use this for the kit's controls and text inputs. Once per process.
    static void install();

    explicit ItemAccessible(QQuickItem* item);

    [[nodiscard]] QWindow* window() const override;
    [[nodiscard]] QAccessibleInterface* parent() const override;
    [[nodiscard]] QAccessibleInterface* child(int index) const override;
    [[nodiscard]] int childCount() const override;
    int indexOfChild(const QAccessibleInterface* child) const override;
    QString text(QAccessible::Text kind) const override;
    [[nodiscard]] QAccessible::Role role() const override;
    [[nodiscard]] QAccessible::State state() const override;
    [[nodiscard]] QRect rect() const override;

protected:
    [[nodiscard]] QQuickItem* item() const;
    /// `place` is in the item's coordinates, the answer in those of the desktop.
    [[nodiscard]] QRect onDesktop(const QRectF& place) const;

private:
    [[nodiscard]] QList<QQuickItem*> children() const;
};

/// A control that is pressed. Its first action presses it.
class PressableAccessible final : public ItemAccessible, public QAccessibleActionInterface
{
public:
    using ItemAccessible::ItemAccessible;

    void* interface_cast(QAccessible::InterfaceType type) override;
    [[nodiscard]] QStringList actionNames() const override;
    void doAction(const QString& name) override;
    [[nodiscard]] QStringList keyBindingsForAction(const QString&) const override { return {}; }
};

} // namespace quillmarsh
