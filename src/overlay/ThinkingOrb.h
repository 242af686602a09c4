#pragma once

#include <QImage>
#include <QQuickPaintedItem>

#include <chrono>
#include <memory>

class QAbstractAnimation;

namespace quillmarsh {

/// The orb that shows that a text is being composed. It asks for new pictures only while `isVisible` is set
/// and motion is welcome.
class ThinkingOrb : public QQuickPaintedItem
{
    Q_OBJECT
    Q_PROPERTY(bool reduceMotion READ reduceMotion WRITE setReduceMotion NOTIFY reduceMotionChanged)
    Q_PROPERTY(bool isVisible READ isShown WRITE setShown NOTIFY shownChanged)

public:
    explicit ThinkingOrb(QQuickItem* parent = nullptr);
    ~ThinkingOrb() override;

    [[nodiscard]] bool reduceMotion() const { return reduceMotion_; }
    void setReduceMotion(bool reduceMotion);
    [[nodiscard]] bool isShown() const { return appeared_; }
    void setShown(bool shown);
    /// Whether the orb is asking for pictures now.
    [[nodiscard]] bool isAnimating() const;

    void paint(QPainter* painter) override;

signals:
    void reduceMotionChanged();
    void shownChanged();

private:
    [[nodiscard]] double time() const;
    void updateTicker();

    bool reduceMotion_ = false;
    bool appeared_ = false;
    std::chrono::steady_clock::time_point startedAt_;
    std::unique_ptr<QAbstractAnimation> ticker_;
    QImage image_; ///< kept between the pictures
};

/// Draws the orb `time` seconds into its animation over the whole of `image`, centred.
void paintComposingOrb(QImage& image, double time);

} // namespace quillmarsh
