#pragma once

#include "base/Task.h"
#include "overlay/OverlayScreen.h"
#include "overlay/RewriteOverlayState.h"
#include "overlay/RewritePanel.h"
#include "platform/Workspace.h"

#include <QPointer>
#include <QUuid>

namespace quillmarsh {

/// What the controller is built on; a test replaces it, everybody else takes it as it is.
struct RewriteOverlayOptions
{
    RewritePanelFactory panels;                          ///< none: the real panel
    std::function<std::vector<OverlayScreen>()> screens; ///< none: those connected
    /// Ends after the duration or when a stop is requested.
    std::function<Task<>(std::chrono::nanoseconds, std::stop_token)> sleep;

    RewriteOverlayOptions();
};

/// Owns the progress panel and its timing: where it stands, what it shows, and when it goes away by itself.
/// One lives as long as the process; all of it on the main thread.
class RewriteOverlayController final : public QObject
{
    Q_OBJECT

public:
    /// `panelWindow` and `appearance` outlive the controller.
    RewriteOverlayController(PanelWindow& panelWindow, DesktopAppearance& appearance,
                             RewriteOverlayOptions options = {});
    ~RewriteOverlayController() override;

    /// Creates the panel ahead of its first presentation, so that this one need not wait for it. Optional.
    void prepare();
    /// Starts a new presentation in the working phase. `app` is the application the text comes from; `cancel`
    /// runs when the user cancels from the panel.
    void show(std::optional<RunningApplication> app, QString title, bool animated,
              std::function<void()> cancel);
    /// Turns the presentation into its outcome, which leaves by itself: after 1.3 s, an error after 8 s, both
    /// counted from when the pointer last left the panel.
    void finish(QString title, QString detail, bool error, std::optional<QString> actionTitle = {},
                std::function<void()> action = {});
    /// Ends the presentation.
    void hide(bool animated);
    /// Demonstrates the panel with a made-up rewrite.
    void preview();

    [[nodiscard]] RewriteOverlayState& state() { return state_; }
    [[nodiscard]] const RewriteOverlayState& state() const { return state_; }
    /// The current presentation; every show() draws a new one.
    [[nodiscard]] QUuid presentationID() const { return presentationID_; }
    /// The bottom centre of the panel, in global device-independent pixels.
    [[nodiscard]] QPointF anchor() const { return anchor_; }
    /// Nanoseconds until the panel hides itself; none while working and after hiding.
    [[nodiscard]] std::optional<quint64> dismissalDelay() const { return dismissalDelay_; }
    [[nodiscard]] bool isHovered() const { return isHovered_; }

private:
    using Weak = QPointer<RewriteOverlayController>;

    void beginWorking(const std::optional<RunningApplication>& app, const QString& title,
                      std::function<void()> cancel);
    void present(const QRectF& target, bool animates);
    [[nodiscard]] QRectF targetFrame() const;
    void hoverChanged(bool isInside);
    void scheduleDismissal();
    void forgetDismissal();
    static Task<> hideLater(Weak self, std::chrono::nanoseconds delay, std::stop_token stop);
    static Task<> finishPreviewLater(Weak self, std::stop_token stop);

    PanelWindow& panelWindow_;
    DesktopAppearance& appearance_;
    RewriteOverlayOptions options_;
    RewriteOverlayState state_;
    std::unique_ptr<RewritePanel> panel_;
    std::optional<std::stop_source> dismissal_;
    QUuid presentationID_;
    QPointF anchor_;
    std::optional<quint64> dismissalDelay_;
    bool isHovered_ = false;
};

} // namespace quillmarsh
