#pragma once

#include <QColor>
#include <QQuickPaintedItem>

namespace quillmarsh {

/// One of the panel's three signs, stroked to fit the item at any scale.
class OverlayGlyph : public QQuickPaintedItem
{
    Q_OBJECT
    Q_PROPERTY(Sign sign MEMBER sign_ NOTIFY changed)
    Q_PROPERTY(QColor color MEMBER color_ NOTIFY changed)
    Q_PROPERTY(qreal strokeWidth MEMBER strokeWidth_ NOTIFY changed)

public:
    enum class Sign { Check, Cross, Exclamation };
    Q_ENUM(Sign)

    explicit OverlayGlyph(QQuickItem* parent = nullptr);

    void paint(QPainter* painter) override;

signals:
    void changed();

private:
    Sign sign_ = Sign::Check;
    QColor color_ = Qt::black;
    qreal strokeWidth_ = 1.5;
};

} // namespace quillmarsh
