#pragma once

#include "ui/kit/PictureItem.h"

#include <QColor>

namespace quillmarsh {

/// A filled rounded rectangle with an outline of any width, fractions included, exact at every scale factor.
/// The scene graph's own rectangle knows only whole line widths when it draws in software.
class RoundedBox : public PictureItem
{
    Q_OBJECT
    Q_PROPERTY(QColor color MEMBER color_ NOTIFY colorChanged)
    Q_PROPERTY(qreal radius MEMBER radius_ NOTIFY radiusChanged)
    /// Corners that bend gently into the sides instead of circles.
    Q_PROPERTY(bool continuous MEMBER continuous_ NOTIFY continuousChanged)
    Q_PROPERTY(QColor lineColor MEMBER lineColor_ NOTIFY lineColorChanged)
    /// Device-independent pixels; the line lies wholly inside the box.
    Q_PROPERTY(qreal lineWidth MEMBER lineWidth_ NOTIFY lineWidthChanged)
    /// How far the line's outer edge lies inside the box.
    Q_PROPERTY(qreal lineInset MEMBER lineInset_ NOTIFY lineInsetChanged)

public:
    explicit RoundedBox(QQuickItem* parent = nullptr);

signals:
    void colorChanged();
    void radiusChanged();
    void continuousChanged();
    void lineColorChanged();
    void lineWidthChanged();
    void lineInsetChanged();

protected:
    [[nodiscard]] Picture picture(qreal ratio) const override;

private:
    [[nodiscard]] bool isInvisible() const;
    /// The box in device pixels, its edges moved to the nearest whole ones.
    [[nodiscard]] QRect devicePixels(QPointF origin, qreal ratio) const;
    void paint(QPainter& painter, const QRectF& box, qreal ratio) const;

    QColor color_ = Qt::transparent;
    QColor lineColor_ = Qt::transparent;
    qreal radius_ = 0;
    qreal lineWidth_ = 0;
    qreal lineInset_ = 0;
    bool continuous_ = false;
};

} // namespace quillmarsh
