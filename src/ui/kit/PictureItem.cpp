#include "ui/kit/PictureItem.h"

#include <QQuickWindow>
#include <QSGImageNode>

namespace quillmarsh {

PictureItem::PictureItem(QQuickItem* parent) : QQuickItem(parent)
{
    setFlag(ItemHasContents);
}

QSGNode* PictureItem::updatePaintNode(QSGNode* old, UpdatePaintNodeData*)
{
    const Picture shown = picture(window()->effectiveDevicePixelRatio());
    if (shown.image.isNull()) {
        delete old;
        return nullptr;
    }
    auto* node = static_cast<QSGImageNode*>(old);
    if (!node) {
        node = window()->createImageNode();
        node->setOwnsTexture(true);
        node->setFiltering(QSGTexture::Linear);
    }
    node->setTexture(window()->createTextureFromImage(shown.image));
    node->setRect(shown.place);
    return node;
}

void PictureItem::itemChange(ItemChange change, const ItemChangeData& value)
{
    if (change == ItemDevicePixelRatioHasChanged)
        update();
    QQuickItem::itemChange(change, value);
}

void PictureItem::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry)
{
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    update();
}

} // namespace quillmarsh
