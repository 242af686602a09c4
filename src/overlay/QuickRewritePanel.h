#pragma once

#include "overlay/OverlaySurroundings.h"
#include "overlay/RewriteOverlayState.h"
#include "overlay/RewritePanel.h"

#include <QVariantAnimation>

class QQuickView;

namespace quillmarsh {

/// The real panel: one Qt Quick window, kept for the life of the process and hidden between the rewrites.
/// With a compositor it is translucent and casts a shadow; without one it is opaque and cut to its rounded
/// surface.
class QuickRewritePanel final : public QObject, public RewritePanel
{
    Q_OBJECT

public:
    QuickRewritePanel(RewriteOverlayState& state, PanelWindow& panelWindow, DesktopAppearance& appearance);
    ~QuickRewritePanel() override;

    [[nodiscard]] bool isVisible() const override;
    void setFrame(const QRectF& frame) override;
    void setOpacity(qreal opacity) override;
    void orderFrontRegardless() override;
    void orderOut() override;
    void run(const PanelTransition& transition, std::function<void()> completed = {}) override;

    [[nodiscard]] QQuickView& window() { return *window_; }
    [[nodiscard]] const OverlaySurroundings& surroundings() const { return surroundings_; }

private:
    void makeWindow();
    void bringToFront();
    void applyFrame(const QRectF& frame);
    void applyOpacity(qreal opacity);
    void applyMask(const QSize& size);
    void updateCompositing();
    void updateAppearance();
    void pointerMoved(bool isInside);
    void leaveIfPointerIsOutsideTheShape();
    void announceOutcome();

    RewriteOverlayState& state_;
    PanelWindow& panelWindow_;
    DesktopAppearance& appearance_;
    OverlaySurroundings surroundings_;
    std::unique_ptr<QQuickView> window_;
    QVariantAnimation frameAnimation_;
    QVariantAnimation opacityAnimation_;
    std::function<void()> completed_;
    QRectF frame_;
    qreal opacity_ = 1;
    bool isOrderedFront_ = false;
};

} // namespace quillmarsh
