#include "overlay/DotPainter.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace quillmarsh {

namespace {

/// The part of one pixel row that a disc may cover, cut into strips; each strip is a chord of the disc.
class RowCoverage final
{
public:
    RowCoverage(int row, QPointF centre, double radius)
    {
        const double top = std::max<double>(row, centre.y() - radius);
        const double bottom = std::min<double>(row + 1, centre.y() + radius);
        height_ = std::max(0.0, bottom - top) / strips;
        for (int i = 0; i < strips; ++i) {
            const double dy = top + (i + 0.5) * height_ - centre.y();
            const double half = std::sqrt(std::max(0.0, radius * radius - dy * dy));
            left_[i] = centre.x() - half;
            right_[i] = centre.x() + half;
        }
    }

    /// The share of the pixel at `column` that lies in the disc, 0 to 1.
    [[nodiscard]] double at(int column) const
    {
        double width = 0;
        for (int i = 0; i < strips; ++i)
            width +=
                std::max(0.0, std::min<double>(right_[i], column + 1) - std::max<double>(left_[i], column));
        return std::min(1.0, width * height_);
    }

private:
    static constexpr int strips = 4;
    double height_ = 0;
    std::array<double, strips> left_;
    std::array<double, strips> right_;
};

constexpr int divideBy255(int value)
{
    return (value + 127) / 255;
}

QRgb blendOver(QRgb below, int grey, int alpha)
{
    const int level = divideBy255(grey * alpha);
    const auto mix = [alpha](int channel, int above) { return above + divideBy255(channel * (255 - alpha)); };
    return qRgba(mix(qRed(below), level), mix(qGreen(below), level), mix(qBlue(below), level),
                 mix(qAlpha(below), alpha));
}

} // namespace

void DotPainter::fill(QPointF centre, double radius, int grey, double alpha)
{
    const int first = std::max(0, static_cast<int>(std::floor(centre.y() - radius)));
    const int last = std::min(image_.height(), static_cast<int>(std::ceil(centre.y() + radius)));
    for (int row = first; row < last; ++row)
        fillRow(row, centre, radius, grey, alpha);
}

void DotPainter::fillRow(int row, QPointF centre, double radius, int grey, double alpha)
{
    const RowCoverage coverage(row, centre, radius);
    const int first = std::max(0, static_cast<int>(std::floor(centre.x() - radius)));
    const int last = std::min(image_.width(), static_cast<int>(std::ceil(centre.x() + radius)));
    auto* pixels = reinterpret_cast<QRgb*>(image_.scanLine(row));
    for (int column = first; column < last; ++column) {
        const int opacity = static_cast<int>(std::lround(coverage.at(column) * alpha * 255));
        if (opacity > 0)
            pixels[column] = blendOver(pixels[column], grey, opacity);
    }
}

} // namespace quillmarsh
