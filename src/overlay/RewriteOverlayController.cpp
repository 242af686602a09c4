#include "overlay/RewriteOverlayController.h"

#include "platform/DesktopAppearance.h"
#include "platform/PanelWindow.h"

namespace quillmarsh {

using namespace std::chrono_literals;
using Phase = RewriteOverlayState::Phase;

namespace {

constexpr std::chrono::nanoseconds successDelay = 1'300ms;
constexpr std::chrono::nanoseconds errorDelay = 8s;
constexpr std::chrono::nanoseconds previewDuration = 3s;
/// Between the panel and the bottom of the screen's free area.
constexpr qreal bottomGap = 14;
constexpr auto moveDuration = 180ms;
constexpr auto fadeDuration = 120ms;

QEasingCurve cubic(QPointF first, QPointF second)
{
    QEasingCurve curve(QEasingCurve::BezierSpline);
    curve.addCubicBezierSegment(first, second, {1, 1});
    return curve;
}

/// Starts fast and settles: for what appears and disappears.
QEasingCurve fastOut()
{
    return cubic({0.23, 1.0}, {0.32, 1.0});
}

/// Gathers speed and settles: for what changes its shape.
QEasingCurve easeInOut()
{
    return cubic({0.77, 0.0}, {0.175, 1.0});
}

/// The right and bottom edges belong to the neighbour, as with every grid of pixels.
bool holds(const QRectF& frame, QPointF point)
{
    return point.x() >= frame.left() && point.x() < frame.right() && point.y() >= frame.top() &&
           point.y() < frame.bottom();
}

QString nameOf(const std::optional<RunningApplication>& app)
{
    if (!app || app->localizedName.isEmpty())
        return QStringLiteral("Selected text");
    return app->localizedName;
}

} // namespace

RewriteOverlayOptions::RewriteOverlayOptions() : sleep(sleepFor) {}

RewriteOverlayController::RewriteOverlayController(PanelWindow& panelWindow, DesktopAppearance& appearance,
                                                   RewriteOverlayOptions options)
    : panelWindow_(panelWindow), appearance_(appearance), options_(std::move(options))
{
    if (!options_.panels)
        options_.panels = quickRewritePanels(panelWindow, appearance);
    if (!options_.screens)
        options_.screens = [&panelWindow] { return connectedScreens(panelWindow); };
}

RewriteOverlayController::~RewriteOverlayController()
{
    forgetDismissal();
}

void RewriteOverlayController::prepare()
{
    if (!panel_)
        panel_ = options_.panels(state_);
}

void RewriteOverlayController::show(std::optional<RunningApplication> app, QString title, bool animated,
                                    std::function<void()> cancel)
{
    forgetDismissal();
    dismissalDelay_.reset();
    presentationID_ = QUuid::createUuid();
    beginWorking(app, title, std::move(cancel));
    prepare();
    const QPoint mouse = panelWindow_.mouseLocation();
    const QRectF visible = visibleFrameAt(options_.screens(), mouse);
    anchor_ = {visible.center().x(), visible.bottom() - bottomGap};
    const QRectF target = targetFrame();
    isHovered_ = holds(target, mouse);
    present(target, animated && !appearance_.reduceMotion());
}

void RewriteOverlayController::beginWorking(const std::optional<RunningApplication>& app,
                                            const QString& title, std::function<void()> cancel)
{
    state_.setAnimatesPhaseChanges(false);
    state_.setIsVisible(true);
    state_.setHoverChanged([self = Weak(this)](bool isInside) {
        if (self)
            self->hoverChanged(isInside);
    });
    state_.setPhase(Phase::Working);
    state_.setTitle(title);
    state_.setDetail(nameOf(app));
    state_.setActionTitle({});
    state_.setAction({});
    state_.setDismiss(std::move(cancel));
}

void RewriteOverlayController::present(const QRectF& target, bool animates)
{
    if (!panel_->isVisible()) {
        panel_->setFrame(target);
        panel_->setOpacity(animates ? 0 : 1);
    }
    panel_->orderFrontRegardless();
    panel_->run({animates ? moveDuration : 0ms, fastOut(), target, 1.0});
}

void RewriteOverlayController::finish(QString title, QString detail, bool error,
                                      std::optional<QString> actionTitle, std::function<void()> action)
{
    state_.setAnimatesPhaseChanges(true);
    state_.setPhase(error ? Phase::Error : Phase::Success);
    state_.setTitle(title);
    state_.setDetail(detail);
    state_.setActionTitle(actionTitle);
    state_.setAction(std::move(action));
    state_.setDismiss([self = Weak(this)] {
        if (self)
            self->hide(true);
    });
    if (panel_)
        panel_->run({appearance_.reduceMotion() ? 0ms : moveDuration, easeInOut(), targetFrame(), {}});
    dismissalDelay_ = static_cast<quint64>((error ? errorDelay : successDelay).count());
    scheduleDismissal();
}

void RewriteOverlayController::hide(bool animated)
{
    forgetDismissal();
    dismissalDelay_.reset();
    state_.setIsVisible(false);
    if (!panel_)
        return;
    if (!animated || appearance_.reduceMotion()) {
        panel_->setOpacity(0);
        panel_->orderOut();
        return;
    }
    // A presentation that begins during the fade wins and keeps the panel.
    panel_->run({fadeDuration, fastOut(), {}, 0.0}, [self = Weak(this), ended = presentationID_] {
        if (self && self->presentationID_ == ended)
            self->panel_->orderOut();
    });
}

void RewriteOverlayController::preview()
{
    show({}, QStringLiteral("Rewriting"), true, [self = Weak(this)] {
        if (self)
            self->hide(true);
    });
    forgetDismissal();
    detach(finishPreviewLater(this, dismissal_.emplace().get_token()));
}

Task<> RewriteOverlayController::finishPreviewLater(Weak self, std::stop_token stop)
{
    co_await self->options_.sleep(previewDuration, stop);
    if (self && !stop.stop_requested())
        self->finish(QStringLiteral("Text rewritten"), QString(), false);
}

QRectF RewriteOverlayController::targetFrame() const
{
    const QSizeF size = state_.windowSize();
    return {{anchor_.x() - size.width() / 2, anchor_.y() - size.height()}, size};
}

void RewriteOverlayController::hoverChanged(bool isInside)
{
    isHovered_ = isInside;
    if (dismissalDelay_)
        scheduleDismissal();
}

void RewriteOverlayController::scheduleDismissal()
{
    forgetDismissal();
    if (!dismissalDelay_ || isHovered_)
        return;
    const std::chrono::nanoseconds delay(*dismissalDelay_);
    detach(hideLater(this, delay, dismissal_.emplace().get_token()));
}

Task<> RewriteOverlayController::hideLater(Weak self, std::chrono::nanoseconds delay, std::stop_token stop)
{
    co_await self->options_.sleep(delay, stop);
    if (self && !stop.stop_requested())
        self->hide(true);
}

void RewriteOverlayController::forgetDismissal()
{
    if (!dismissal_)
        return;
    dismissal_->request_stop();
    dismissal_.reset();
}

} // namespace quillmarsh
