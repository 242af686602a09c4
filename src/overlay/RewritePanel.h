#pragma once

#include <QEasingCurve>
#include <QRectF>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace quillmarsh {

class DesktopAppearance;
class PanelWindow;
class RewriteOverlayState;

/// A change of the panel over time. What has no value stays as it is.
struct PanelTransition
{
    std::chrono::milliseconds duration{0}; ///< zero applies the change at once
    QEasingCurve curve;
    std::optional<QRectF> frame;  ///< in global device-independent pixels
    std::optional<qreal> opacity; ///< 0 to 1
};

/// The floating window that reports a rewrite. It never takes the keyboard focus, never activates the
/// application, and is not visible when it is created.
class RewritePanel
{
public:
    RewritePanel() = default;
    RewritePanel(const RewritePanel&) = delete;
    RewritePanel& operator=(const RewritePanel&) = delete;
    virtual ~RewritePanel() = default;

    [[nodiscard]] virtual bool isVisible() const = 0;
    /// Both end what a running transition was doing to the same quality.
    virtual void setFrame(const QRectF& frame) = 0;
    virtual void setOpacity(qreal opacity) = 0;
    /// Shows the panel above everything, also above full-screen applications, and leaves the focus alone.
    virtual void orderFrontRegardless() = 0;
    virtual void orderOut() = 0;
    /// Frame and opacity move independently: a transition takes over only the qualities that it names.
    /// `completed` runs from the event loop when the opacity has arrived, and never when another change of
    /// the opacity came in between.
    virtual void run(const PanelTransition& transition, std::function<void()> completed = {}) = 0;
};

/// Makes a panel that draws `state` for as long as it lives.
using RewritePanelFactory = std::function<std::unique_ptr<RewritePanel>(RewriteOverlayState& state)>;

/// The factory of the real panel. Both arguments outlive the panel.
[[nodiscard]] RewritePanelFactory quickRewritePanels(PanelWindow& panelWindow, DesktopAppearance& appearance);

} // namespace quillmarsh
