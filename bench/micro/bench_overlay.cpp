// What the progress panel costs: one picture of the orb, one frame of the working panel, and the wait from
// show() to the first frame, cold and prepared. Run it from an optimised build.
#include "overlay/ComposingOrb.h"
#include "overlay/QuickRewritePanel.h"
#include "overlay/RewriteOverlayController.h"
#include "overlay/ThinkingOrb.h"
#include "platform/DesktopAppearance.h"
#include "platform/PanelWindow.h"

#include <QEventLoop>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QQuickView>
#include <QScreen>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <vector>

using namespace quillmarsh;
using Clock = std::chrono::steady_clock;

namespace {

class PlainPanelWindow final : public PanelWindow
{
public:
    void configure(QWindow& window) override
    {
        window.setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::BypassWindowManagerHint);
    }
    void orderFrontRegardless(QWindow& window) override { window.show(); }
    void leaveOutOfTaskBars(QWindow&) override {}
    [[nodiscard]] bool isCompositing() const override { return true; }
    [[nodiscard]] QPoint mouseLocation() const override { return {-1, -1}; }
    [[nodiscard]] QRect visibleFrame(const QScreen& screen) const override
    {
        return screen.availableGeometry();
    }
};

class PlainAppearance final : public DesktopAppearance
{
public:
    [[nodiscard]] bool reduceMotion() const override { return false; }
    [[nodiscard]] bool reduceTransparency() const override { return false; }
    [[nodiscard]] bool increaseContrast() const override { return false; }
};

double microseconds(Clock::time_point since)
{
    return std::chrono::duration<double, std::micro>(Clock::now() - since).count();
}

void report(const char* what, std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const std::size_t count = values.size();
    std::printf("%-34s median %9.2f us   p95 %9.2f us   (%zu runs)\n", what, values[count / 2],
                values[count * 95 / 100], count);
}

template <typename Work>
void measure(const char* what, int runs, Work work)
{
    std::vector<double> values;
    for (int run = 0; run < runs; ++run) {
        const auto start = Clock::now();
        work(run);
        values.push_back(microseconds(start));
    }
    report(what, values);
}

void measureOrb()
{
    double sum = 0;
    measure("ComposingOrb::frame", 20'000, [&](int run) { sum += ComposingOrb::frame(run * 0.016)[7].x; });
    for (const int side : {30, 60}) {
        QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
        measure(side == 30 ? "orb painted, 30 pixels" : "orb painted, 60 pixels", 5'000,
                [&](int run) { paintComposingOrb(image, run * 0.016); });
    }
    if (sum == 0)
        std::puts("(no dots)");
}

/// The panel and what belongs to it, made anew for every cold start.
struct Panel
{
    PlainPanelWindow panelWindow;
    PlainAppearance appearance;
    QuickRewritePanel* panel = nullptr;
    RewriteOverlayController controller{panelWindow, appearance, options()};

    RewriteOverlayOptions options()
    {
        RewriteOverlayOptions options;
        options.panels = [this](RewriteOverlayState& state) {
            auto made = std::make_unique<QuickRewritePanel>(state, panelWindow, appearance);
            panel = made.get();
            return made;
        };
        return options;
    }

    /// Shows the panel and waits for its first frame.
    double firstFrame()
    {
        QEventLoop loop;
        const auto start = Clock::now();
        controller.show({}, QStringLiteral("Fix"), false, {});
        double elapsed = 0;
        QObject::connect(&panel->window(), &QQuickWindow::frameSwapped, &loop, [&] {
            elapsed = microseconds(start);
            loop.quit();
        });
        loop.exec();
        return elapsed;
    }

    std::vector<double> frames(std::chrono::milliseconds duration)
    {
        QEventLoop loop;
        std::vector<double> values;
        Clock::time_point start;
        QObject::connect(&panel->window(), &QQuickWindow::afterAnimating, &loop,
                         [&] { start = Clock::now(); });
        QObject::connect(&panel->window(), &QQuickWindow::frameSwapped, &loop,
                         [&] { values.push_back(microseconds(start)); });
        QTimer::singleShot(duration, &loop, &QEventLoop::quit);
        loop.exec();
        return values;
    }
};

void pause(std::chrono::milliseconds duration)
{
    QEventLoop loop;
    QTimer::singleShot(duration, &loop, &QEventLoop::quit);
    loop.exec();
}

void measurePanel()
{
    std::vector<double> cold;
    for (int run = 0; run < 20; ++run)
        cold.push_back(Panel().firstFrame());
    std::vector<double> prepared;
    for (int run = 0; run < 20; ++run) {
        Panel panel;
        panel.controller.prepare();
        pause(std::chrono::milliseconds(50));
        prepared.push_back(panel.firstFrame());
    }
    Panel kept;
    std::vector<double> again;
    for (int run = 0; run < 50; ++run) {
        again.push_back(kept.firstFrame());
        kept.controller.hide(false);
        pause(std::chrono::milliseconds(20));
    }
    kept.firstFrame();
    const auto frames = kept.frames(std::chrono::seconds(3));
    std::printf("first frame ever %.2f us\n", cold.front());
    report("first frame, panel made for it", cold);
    report("first frame, panel prepared", prepared);
    report("first frame, panel kept", again);
    report("one frame while working", frames);
    std::printf("%zu frames in 3 s\n", frames.size());
}

} // namespace

int main(int argc, char** argv)
{
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    // Qt's offscreen platform warns about every opacity that it is given.
    QLoggingCategory::setFilterRules(QStringLiteral("default.warning=false"));
    QGuiApplication application(argc, argv);
    measureOrb();
    measurePanel();
}
