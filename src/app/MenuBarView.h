#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QRect>

#include <memory>

class QQuickView;

namespace quillmarsh {

class MenuBarModel;
class PanelWindow;
class Workspace;
struct RunningApplication;

/// The panel that drops down from the status-bar icon. It takes the keyboard, closes when the user turns
/// elsewhere, presses Escape or chooses something, and holds no memory while it is closed.
class MenuBarView final : public QObject
{
    Q_OBJECT

public:
    /// All of them outlive the view.
    MenuBarView(MenuBarModel& model, PanelWindow& panelWindow, Workspace& workspace,
                QObject* parent = nullptr);
    ~MenuBarView() override;

    /// Opens the panel beside `anchor`, the icon on the screen; at the pointer when it is a null rectangle.
    void open(const QRect& anchor);
    Q_SLOT void close();
    /// What a click on the icon does. The click that closes the panel by turning away from it does not open
    /// it again.
    void toggle(const QRect& anchor);
    [[nodiscard]] bool isOpen() const { return window_ != nullptr; }
    /// Null while closed.
    [[nodiscard]] QQuickView* window() const { return window_.get(); }

signals:
    void closed();

private:
    void makeWindow();
    void connectWindow();
    void place();
    void closeFor(const RunningApplication& application);

    MenuBarModel& model_;
    PanelWindow& panelWindow_;
    Workspace& workspace_;
    std::unique_ptr<QQuickView> window_;
    QRect anchor_;
    QElapsedTimer sinceOpened_;
    QElapsedTimer sinceClosed_;
};

/// Where a menu of `size` goes: below an anchor in the upper half of `available`, above one in the lower
/// half, centred on it, and wholly on the screen.
[[nodiscard]] QRect menuFrame(const QRect& anchor, QSize size, const QRect& available);

} // namespace quillmarsh
