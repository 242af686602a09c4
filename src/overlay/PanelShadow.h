#pragma once

#include <QImage>
#include <QQuickPaintedItem>

namespace quillmarsh {

/// The soft shadow of a rounded surface that lies `inset` inside this item. It is painted from one small
/// picture of the corners, whose middle row and column are stretched.
class PanelShadow : public QQuickPaintedItem
{
    Q_OBJECT
    Q_PROPERTY(qreal inset MEMBER inset_ NOTIFY changed)
    Q_PROPERTY(qreal radius MEMBER radius_ NOTIFY changed)

public:
    explicit PanelShadow(QQuickItem* parent = nullptr);

    void paint(QPainter* painter) override;

signals:
    void changed();

private:
    void renderCorners(qreal ratio);

    qreal inset_ = 0;
    qreal radius_ = 0;
    QImage corners_;
    qreal cornersRadius_ = -1;
    qreal cornersRatio_ = 0;
};

} // namespace quillmarsh
