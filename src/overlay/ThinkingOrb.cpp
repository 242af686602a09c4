#include "overlay/ThinkingOrb.h"

#include "overlay/ComposingOrb.h"
#include "overlay/DotPainter.h"

#include <QAbstractAnimation>
#include <QPainter>
#include <QQuickWindow>

#include <algorithm>
#include <cmath>

namespace quillmarsh {

namespace {

constexpr double stillTime = 0.6;
constexpr double speed = 2.34;
constexpr double drawingSpace = 64;

/// Runs on the application's shared animation clock, until stopped.
class Ticker final : public QAbstractAnimation
{
public:
    explicit Ticker(QQuickItem& item) : item_(item) {}
    [[nodiscard]] int duration() const override { return -1; }

private:
    void updateCurrentTime(int) override { item_.update(); }

    QQuickItem& item_;
};

int greyLevel(double white)
{
    return static_cast<int>(std::clamp(std::lround((1 - std::min(white, 1.0)) * 255), 0L, 255L));
}

} // namespace

void paintComposingOrb(QImage& image, double time)
{
    const double side = std::min(image.width(), image.height());
    const double scale = side / drawingSpace;
    const QPointF origin((image.width() - side) / 2, (image.height() - side) / 2);
    image.fill(Qt::transparent);
    DotPainter painter(image);
    for (const Dot& dot : ComposingOrb::frame(time))
        painter.fill(origin + QPointF(dot.x, dot.y) * scale, dot.radius * scale, greyLevel(dot.white),
                     dot.alpha);
}

ThinkingOrb::ThinkingOrb(QQuickItem* parent)
    : QQuickPaintedItem(parent), ticker_(std::make_unique<Ticker>(*this))
{}

ThinkingOrb::~ThinkingOrb() = default;

void ThinkingOrb::setReduceMotion(bool reduceMotion)
{
    if (reduceMotion_ == reduceMotion)
        return;
    reduceMotion_ = reduceMotion;
    updateTicker();
    emit reduceMotionChanged();
}

void ThinkingOrb::setShown(bool shown)
{
    if (appeared_ == shown)
        return;
    appeared_ = shown;
    if (shown)
        startedAt_ = std::chrono::steady_clock::now();
    updateTicker();
    emit shownChanged();
}

bool ThinkingOrb::isAnimating() const
{
    return ticker_->state() == QAbstractAnimation::Running;
}

void ThinkingOrb::updateTicker()
{
    if (appeared_ && !reduceMotion_)
        ticker_->start();
    else
        ticker_->stop();
    update();
}

double ThinkingOrb::time() const
{
    if (reduceMotion_)
        return stillTime;
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - startedAt_;
    return std::max(0.0, elapsed.count()) * speed;
}

void ThinkingOrb::paint(QPainter* painter)
{
    const qreal ratio = window() ? window()->effectiveDevicePixelRatio() : 1;
    const QSize size = (this->size() * ratio).toSize();
    if (image_.size() != size)
        image_ = QImage(size, QImage::Format_ARGB32_Premultiplied);
    paintComposingOrb(image_, time());
    painter->drawImage(boundingRect(), image_);
}

} // namespace quillmarsh
