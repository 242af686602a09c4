#pragma once

#include <QImage>
#include <QQuickItem>

namespace quillmarsh {

/// An item that shows a picture of its own drawing in the pixels of its screen. It is drawn anew after
/// update(), and when the item's geometry or the screen's scale changes.
class PictureItem : public QQuickItem
{
    Q_OBJECT

public:
    explicit PictureItem(QQuickItem* parent = nullptr);

protected:
    struct Picture
    {
        QImage image; ///< null: nothing is shown
        QRectF place; ///< in the item's coordinates
    };

    /// `ratio` is the device pixels in one of the item's. Called while the scene is painted.
    [[nodiscard]] virtual Picture picture(qreal ratio) const = 0;

    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) override;
    void itemChange(ItemChange change, const ItemChangeData& value) override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
};

} // namespace quillmarsh
