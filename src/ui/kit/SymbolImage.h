#pragma once

#include "ui/kit/PictureItem.h"

#include <QColor>

namespace quillmarsh {

/// The picture of a symbol: `pixels` wide and high, its strokes in `color`. A name ending in ".fill" also
/// gets a light wash of the colour inside. Equal pictures are drawn once and shared.
[[nodiscard]] QImage symbolImage(const QString& symbol, const QColor& color, int pixels);

/// A symbol in a scene, sharp at every scale factor.
class SymbolImage : public PictureItem
{
    Q_OBJECT
    Q_PROPERTY(QString name MEMBER name_ NOTIFY nameChanged)
    Q_PROPERTY(QColor color MEMBER color_ NOTIFY colorChanged)

public:
    explicit SymbolImage(QQuickItem* parent = nullptr);

signals:
    void nameChanged();
    void colorChanged();

protected:
    [[nodiscard]] Picture picture(qreal ratio) const override;

private:
    QString name_;
    QColor color_ = Qt::black;
};

} // namespace quillmarsh
