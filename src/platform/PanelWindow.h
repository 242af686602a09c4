#pragma once

#include <QObject>
#include <QPoint>
#include <QRect>

class QScreen;
class QWindow;

namespace quillmarsh {

/// Makes a window a floating panel that never takes the keyboard focus, shows on every desktop and lies above
/// full-screen applications.
class PanelWindow : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// Call before the window is first shown; it stays a panel for its life, and its bottom centre is what
    /// stands still when it changes its size. A window that paints its own shadow says how wide that is, in
    /// device-independent pixels, in its property "shadowMargin".
    virtual void configure(QWindow& window) = 0;
    /// Shows the window on top without activating the application.
    virtual void orderFrontRegardless(QWindow& window) = 0;
    /// Keeps a window that takes the keyboard, as a menu does, out of task bars and pagers. Call before it is
    /// first shown.
    virtual void leaveOutOfTaskBars(QWindow& window) = 0;
    /// Whether windows may be translucent now. Without it the caller draws opaque and sets a shape mask.
    [[nodiscard]] virtual bool isCompositing() const = 0;
    /// The pointer in global device-independent pixels, also while another application has it.
    [[nodiscard]] virtual QPoint mouseLocation() const = 0;
    /// What the desktop's own bars leave free of a screen, in global device-independent pixels.
    [[nodiscard]] virtual QRect visibleFrame(const QScreen& screen) const = 0;

signals:
    void compositingChanged();
};

} // namespace quillmarsh
