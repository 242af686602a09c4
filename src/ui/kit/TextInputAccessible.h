#pragma once

#include "ui/kit/ItemAccessible.h"

namespace quillmarsh {

/// A line of text for assistive technology. Unlike the toolkit's own it hands out what is displayed and never
/// the text behind it: of a hidden text the dots, under the role of a password field.
class TextInputAccessible final : public ItemAccessible,
                                  public QAccessibleTextInterface,
                                  public QAccessibleActionInterface
{
public:
    using ItemAccessible::ItemAccessible;

    QString text(QAccessible::Text kind) const override;
    [[nodiscard]] QAccessible::State state() const override;
    void* interface_cast(QAccessible::InterfaceType type) override;

    void selection(int index, int* start, int* end) const override;
    [[nodiscard]] int selectionCount() const override;
    void addSelection(int start, int end) override;
    void removeSelection(int index) override;
    void setSelection(int index, int start, int end) override;
    [[nodiscard]] int cursorPosition() const override;
    void setCursorPosition(int position) override;
    [[nodiscard]] QString text(int start, int end) const override;
    [[nodiscard]] int characterCount() const override;
    [[nodiscard]] QRect characterRect(int offset) const override;
    [[nodiscard]] int offsetAtPoint(const QPoint& point) const override;
    void scrollToSubstring(int start, int end) override;
    QString attributes(int offset, int* start, int* end) const override;

    [[nodiscard]] QStringList actionNames() const override;
    void doAction(const QString& name) override;
    [[nodiscard]] QStringList keyBindingsForAction(const QString&) const override { return {}; }

private:
    [[nodiscard]] QString displayed() const;
    [[nodiscard]] int number(const char* property) const;
};

} // namespace quillmarsh
