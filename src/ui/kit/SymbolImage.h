#pragma once

#include <QColor>
#include <QImage>
#include <QQuickItem>

namespace quillmarsh {

/// The picture of a symbol: `pixels` wide and high, its strokes in `color`. A name ending in ".fill" also
/// gets a light wash of the colour inside. Equal pictures are drawn once and shared.
[[nodiscard]] QImage symbolImage(const QString& symbol, const QColor& color, int pixels);

/// A symbol in a scene, sharp at every scale factor.
class SymbolImage : public QQuickItem
{
    Q_OBJECT
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged)

public:
    explicit SymbolImage(QQuickItem* parent = nullptr);

    [[nodiscard]] QString name() const { return name_; }
    void setName(const QString& name);
    [[nodiscard]] QColor color() const { return color_; }
    void setColor(const QColor& color);

signals:
    void nameChanged();
    void colorChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) override;
    void itemChange(ItemChange change, const ItemChangeData& value) override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;

private:
    QString name_;
    QColor color_ = Qt::black;
};

} // namespace quillmarsh
