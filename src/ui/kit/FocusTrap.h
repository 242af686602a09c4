#pragma once

#include <QPointer>
#include <QQuickItem>

class QQuickWindow;

namespace quillmarsh {

/// While `active`, Tab and Shift-Tab only reach items inside this one, and the pointer's wheel and clicks
/// stay here too. When it ends, the focus returns to where it was.
class FocusTrap : public QQuickItem
{
    Q_OBJECT
    Q_PROPERTY(bool active READ active WRITE setActive NOTIFY activeChanged)

public:
    explicit FocusTrap(QQuickItem* parent = nullptr);
    ~FocusTrap() override;

    [[nodiscard]] bool active() const { return active_; }
    void setActive(bool active);
    /// Moves the focus to the next (or previous) item inside, if there is one.
    Q_INVOKABLE void moveFocus(bool forward);

signals:
    void activeChanged();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void itemChange(ItemChange change, const ItemChangeData& value) override;

private:
    void watch(QQuickWindow* window);
    void begin();
    void end();

    QPointer<QQuickWindow> window_;
    QPointer<QQuickItem> previousFocus_;
    bool active_ = false;
};

} // namespace quillmarsh
