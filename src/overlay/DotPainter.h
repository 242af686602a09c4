#pragma once

#include <QImage>
#include <QPointF>

namespace quillmarsh {

/// Lays antialiased grey discs over an image of the format ARGB32_Premultiplied. Made for many discs of about
/// a pixel, where a general path renderer spends a hundred times as long on setting up each of them.
class DotPainter final
{
public:
    /// `image` outlives the painter.
    explicit DotPainter(QImage& image) : image_(image) {}

    /// `centre` and `radius` in the image's pixels, `grey` 0 to 255, `alpha` 0 to 1.
    void fill(QPointF centre, double radius, int grey, double alpha);

private:
    void fillRow(int row, QPointF centre, double radius, int grey, double alpha);

    QImage& image_;
};

} // namespace quillmarsh
