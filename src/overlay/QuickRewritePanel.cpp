#include "overlay/QuickRewritePanel.h"

#include "overlay/OverlayGlyph.h"
#include "overlay/PanelShadow.h"
#include "overlay/ThinkingOrb.h"
#include "platform/DesktopAppearance.h"
#include "platform/PanelWindow.h"

#include <QAccessible>
#include <QPainterPath>
#include <QQuickItem>
#include <QQuickView>
#include <QSignalBlocker>
#include <QtQml/qqml.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace quillmarsh {

using namespace std::chrono_literals;

namespace {

void registerViewTypes()
{
    static const bool once = [] {
        constexpr auto uri = "Quillmarsh.Overlay";
        const auto reason = QStringLiteral("The panel hands it in");
        qmlRegisterUncreatableType<RewriteOverlayState>(uri, 1, 0, "RewriteOverlayState", reason);
        qmlRegisterUncreatableType<OverlaySurroundings>(uri, 1, 0, "OverlaySurroundings", reason);
        qmlRegisterType<ThinkingOrb>(uri, 1, 0, "ThinkingOrb");
        qmlRegisterType<PanelShadow>(uri, 1, 0, "PanelShadow");
        qmlRegisterType<OverlayGlyph>(uri, 1, 0, "OverlayGlyph");
        return true;
    }();
    Q_UNUSED(once)
}

/// Tells when the pointer enters and leaves the whole window. Hover handlers inside the scene keep their last
/// answer while a window is hidden under the pointer; these events do not.
class PanelView final : public QQuickView
{
public:
    explicit PanelView(std::function<void(bool)> pointerMoved) : pointerMoved_(std::move(pointerMoved)) {}

private:
    bool event(QEvent* event) override
    {
        const bool handled = QQuickView::event(event);
        if (event->type() == QEvent::Enter || event->type() == QEvent::Leave)
            pointerMoved_(event->type() == QEvent::Enter);
        return handled;
    }

    std::function<void(bool)> pointerMoved_;
};

/// Whole pixels whose bottom centre stays where that of `frame` is.
QRect pixelAligned(const QRectF& frame)
{
    const QSize size = frame.size().toSize();
    return {{qRound(frame.center().x() - size.width() / 2.0), qRound(frame.bottom()) - size.height()}, size};
}

/// The surface's shape inside a window of `size`, as the view draws it.
QRegion surfaceShape(const QSize& size)
{
    constexpr qreal inset = RewriteOverlayState::margin;
    const QRectF surface = QRectF({}, size).adjusted(inset, inset, -inset, -inset);
    const qreal radius = std::min(18.0, surface.height() / 2);
    QPainterPath path;
    path.addRoundedRect(surface, radius, radius);
    return QRegion(path.toFillPolygon().toPolygon());
}

void start(QVariantAnimation& animation, const PanelTransition& transition, const QVariant& from,
           const QVariant& to, std::chrono::milliseconds duration)
{
    animation.stop();
    // Each of these values tells a new present value, computed at the end of the animation before.
    QSignalBlocker blocker(&animation);
    animation.setEasingCurve(transition.curve);
    animation.setDuration(static_cast<int>(duration.count()));
    animation.setStartValue(from);
    animation.setEndValue(to);
    blocker.unblock();
    animation.start();
}

} // namespace

RewritePanelFactory quickRewritePanels(PanelWindow& panelWindow, DesktopAppearance& appearance)
{
    return [&](RewriteOverlayState& state) {
        return std::make_unique<QuickRewritePanel>(state, panelWindow, appearance);
    };
}

QuickRewritePanel::QuickRewritePanel(RewriteOverlayState& state, PanelWindow& panelWindow,
                                     DesktopAppearance& appearance)
    : state_(state), panelWindow_(panelWindow), appearance_(appearance)
{
    makeWindow();
    connect(&frameAnimation_, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& value) { applyFrame(value.toRectF()); });
    connect(&opacityAnimation_, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& value) { applyOpacity(value.toReal()); });
    connect(&opacityAnimation_, &QVariantAnimation::finished, this, [this] {
        if (const auto completed = std::exchange(completed_, {}))
            completed();
    });
    connect(&panelWindow_, &PanelWindow::compositingChanged, this, &QuickRewritePanel::updateCompositing);
    connect(&appearance_, &DesktopAppearance::changed, this, &QuickRewritePanel::updateAppearance);
    // Queued: the texts of an outcome arrive right after its phase.
    connect(&state_, &RewriteOverlayState::phaseChanged, this, &QuickRewritePanel::announceOutcome,
            Qt::QueuedConnection);
}

QuickRewritePanel::~QuickRewritePanel() = default;

void QuickRewritePanel::makeWindow()
{
    registerViewTypes();
    window_ = std::make_unique<PanelView>([this](bool isInside) { pointerMoved(isInside); });
    window_->setTitle(QStringLiteral("Quillmarsh panel"));
    QSurfaceFormat format = window_->requestedFormat();
    format.setAlphaBufferSize(8);
    window_->setFormat(format);
    window_->setResizeMode(QQuickView::SizeRootObjectToView);
    window_->setProperty("shadowMargin", RewriteOverlayState::margin);
    panelWindow_.configure(*window_);
    updateAppearance();
    updateCompositing();
    window_->setInitialProperties({{QStringLiteral("overlay"), QVariant::fromValue(&state_)},
                                   {QStringLiteral("surroundings"), QVariant::fromValue(&surroundings_)}});
    window_->setSource(QUrl(QStringLiteral("qrc:/quillmarsh/overlay/RewriteOverlayView.qml")));
}

bool QuickRewritePanel::isVisible() const
{
    return isOrderedFront_;
}

void QuickRewritePanel::setFrame(const QRectF& frame)
{
    frameAnimation_.stop();
    applyFrame(frame);
}

void QuickRewritePanel::setOpacity(qreal opacity)
{
    completed_ = {};
    opacityAnimation_.stop();
    applyOpacity(opacity);
}

// Queued: mapping a window takes milliseconds, and whoever asks has a selection to copy first.
void QuickRewritePanel::orderFrontRegardless()
{
    isOrderedFront_ = true;
    QMetaObject::invokeMethod(this, &QuickRewritePanel::bringToFront, Qt::QueuedConnection);
}

void QuickRewritePanel::bringToFront()
{
    if (!isOrderedFront_)
        return;
    surroundings_.setIsOnScreen(true);
    panelWindow_.orderFrontRegardless(*window_);
    leaveIfPointerIsOutsideTheShape();
}

void QuickRewritePanel::orderOut()
{
    isOrderedFront_ = false;
    frameAnimation_.stop();
    opacityAnimation_.stop();
    window_->hide();
    surroundings_.setIsOnScreen(false);
    surroundings_.setIsHovering(false);
}

void QuickRewritePanel::run(const PanelTransition& transition, std::function<void()> completed)
{
    // Without a compositor the server shows each step of a resize before it is painted; one step is enough
    // then.
    const bool jumps = transition.duration == 0ms || !surroundings_.isComposited();
    if (transition.frame && jumps)
        setFrame(*transition.frame);
    else if (transition.frame)
        start(frameAnimation_, transition, frame_, *transition.frame, transition.duration);
    if (!transition.opacity)
        return;
    if (transition.duration == 0ms && !completed) {
        setOpacity(*transition.opacity);
        return;
    }
    completed_ = std::move(completed);
    // Only a compositor can show a fade; without one the end comes with the next tick.
    const auto duration = surroundings_.isComposited() ? std::max(transition.duration, 1ms) : 1ms;
    start(opacityAnimation_, transition, opacity_, *transition.opacity, duration);
}

void QuickRewritePanel::applyFrame(const QRectF& frame)
{
    frame_ = frame;
    const QRect geometry = pixelAligned(frame);
    // The shape first: after the resize the old one would cut away the picture that is still to be seen.
    applyMask(geometry.size());
    window_->setGeometry(geometry);
}

void QuickRewritePanel::applyOpacity(qreal opacity)
{
    opacity_ = opacity;
    window_->setOpacity(surroundings_.isComposited() ? opacity : 1);
}

void QuickRewritePanel::applyMask(const QSize& size)
{
    const QRegion shape = surroundings_.isComposited() ? QRegion() : surfaceShape(size);
    if (window_->mask() != shape)
        window_->setMask(shape);
}

void QuickRewritePanel::updateCompositing()
{
    surroundings_.setIsComposited(panelWindow_.isCompositing());
    window_->setColor(surroundings_.isComposited() ? Qt::transparent : Qt::white);
    applyMask(window_->size());
    applyOpacity(opacity_);
}

void QuickRewritePanel::updateAppearance()
{
    surroundings_.setReduceMotion(appearance_.reduceMotion());
    surroundings_.setReduceTransparency(appearance_.reduceTransparency());
    surroundings_.setIncreaseContrast(appearance_.increaseContrast());
}

void QuickRewritePanel::pointerMoved(bool isInside)
{
    surroundings_.setIsHovering(isInside);
    state_.hoverChanged(isInside);
}

// The pointer may have left the frame before the window came, or rest in it where a masked window has none:
// no leave event would ever tell, and the outcome would stay for good.
void QuickRewritePanel::leaveIfPointerIsOutsideTheShape()
{
    const QPoint inside = panelWindow_.mouseLocation() - window_->position();
    const QRegion shape = window_->mask().isEmpty() ? QRegion(QRect({}, window_->size())) : window_->mask();
    if (!shape.contains(inside))
        state_.hoverChanged(false);
}

void QuickRewritePanel::announceOutcome()
{
    if (state_.phase() == RewriteOverlayState::Phase::Working || !QAccessible::isActive())
        return;
    QAccessibleEvent event(window_->rootObject(), QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
}

} // namespace quillmarsh
