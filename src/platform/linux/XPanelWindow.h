#pragma once

#include "platform/PanelWindow.h"

#include <memory>

namespace quillmarsh {

class XConnection;

/// Override-redirect windows: the only kind that openbox, xfwm4, mutter and KWin all keep unfocused, above
/// full-screen windows and on every desktop (measured).
class XPanelWindow final : public PanelWindow
{
    Q_OBJECT

public:
    /// `connection` is null without an X server.
    explicit XPanelWindow(std::shared_ptr<XConnection> connection);

    void configure(QWindow& window) override;
    void orderFrontRegardless(QWindow& window) override;
    void leaveOutOfTaskBars(QWindow& window) override;
    [[nodiscard]] bool isCompositing() const override { return compositing_; }
    [[nodiscard]] QPoint mouseLocation() const override;
    [[nodiscard]] QRect visibleFrame(const QScreen& screen) const override;

private:
    void watchCompositor();
    void describe(QWindow& window);
    void keepPictureWhileResizing(QWindow& window);

    std::shared_ptr<XConnection> connection_;
    bool compositing_ = false;
};

} // namespace quillmarsh
