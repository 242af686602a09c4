#pragma once

#include "overlay/RewritePanel.h"

#include <vector>

namespace quillmarsh::test {

/// What a FakeRewritePanel was asked. It outlives the panel, so that a test can look at it any time.
struct FakePanelRecord
{
    bool visible = false;
    QRectF frame;
    qreal opacity = -1;
    std::vector<QRectF> placements; ///< every frame that was set without a transition
    std::vector<qreal> opacities;   ///< likewise
    int created = 0;
    int fronted = 0;
    int orderedOut = 0;
    std::vector<PanelTransition> transitions;
    std::vector<std::function<void()>> completions; ///< one per transition, perhaps empty; a test runs them
};

/// A panel without a window: a transition arrives at once, its completion waits for the test.
class FakeRewritePanel final : public RewritePanel
{
public:
    explicit FakeRewritePanel(FakePanelRecord& record) : record_(record) { ++record_.created; }

    [[nodiscard]] bool isVisible() const override { return record_.visible; }
    void setFrame(const QRectF& frame) override
    {
        record_.frame = frame;
        record_.placements.push_back(frame);
    }
    void setOpacity(qreal opacity) override
    {
        record_.opacity = opacity;
        record_.opacities.push_back(opacity);
    }
    void orderFrontRegardless() override
    {
        record_.visible = true;
        ++record_.fronted;
    }
    void orderOut() override
    {
        record_.visible = false;
        ++record_.orderedOut;
    }
    void run(const PanelTransition& transition, std::function<void()> completed = {}) override
    {
        record_.transitions.push_back(transition);
        record_.completions.push_back(std::move(completed));
        record_.frame = transition.frame.value_or(record_.frame);
        record_.opacity = transition.opacity.value_or(record_.opacity);
    }

private:
    FakePanelRecord& record_;
};

/// Makes fake panels that all write into `record`.
inline RewritePanelFactory fakeRewritePanels(FakePanelRecord& record)
{
    return [&record](RewriteOverlayState&) { return std::make_unique<FakeRewritePanel>(record); };
}

} // namespace quillmarsh::test
