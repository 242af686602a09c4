#pragma once

#include <QQuickItem>

namespace quillmarsh {

/// What every control of the kit that can be pressed has in common: pointer, keyboard and focus. Space
/// presses on release and Return at once, as on the desktop around us.
class Pressable : public QQuickItem
{
    Q_OBJECT
    /// Whether Tab stops here; true unless a group has one stop for all of its members.
    Q_PROPERTY(bool tabStop READ activeFocusOnTab WRITE setActiveFocusOnTab NOTIFY tabStopChanged)
    Q_PROPERTY(bool hovered READ hovered NOTIFY hoveredChanged)
    Q_PROPERTY(bool pressed READ pressed NOTIFY pressedChanged)
    Q_PROPERTY(bool visualFocus READ visualFocus NOTIFY visualFocusChanged)

public:
    explicit Pressable(QQuickItem* parent = nullptr);

    /// False while disabled.
    [[nodiscard]] bool hovered() const { return hovered_ && isEnabled(); }
    [[nodiscard]] bool pressed() const { return (pointerDown_ && pointerInside_) || keyDown_; }
    /// Focused by the keyboard, so that the focus has to be seen.
    [[nodiscard]] bool visualFocus() const { return visualFocus_; }

    /// What a press does; nothing while disabled.
    Q_INVOKABLE void click();

signals:
    void clicked();
    void tabStopChanged();
    void hoveredChanged();
    void pressedChanged();
    void visualFocusChanged();

protected:
    void hoverEnterEvent(QHoverEvent* event) override;
    void hoverLeaveEvent(QHoverEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseUngrabEvent() override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void itemChange(ItemChange change, const ItemChangeData& value) override;

private:
    void announceEnabled();
    void setHovered(bool hovered);
    void setVisualFocus(bool visualFocus);
    /// Runs `change` and tells when `pressed` is another afterwards.
    template <typename Change>
    void press(Change change);

    bool hovered_ = false;
    bool pointerDown_ = false;
    bool pointerInside_ = false;
    bool keyDown_ = false;
    bool visualFocus_ = false;
};

} // namespace quillmarsh
