#pragma once

#include <array>
#include <cstddef>

namespace quillmarsh {

/// One dot of the orb, in a drawing space of 64 × 64 whose centre is (32, 32).
struct Dot
{
    double x = 0;
    double y = 0;
    double z = 0; ///< depth, larger is nearer
    double radius = 0;
    double white = 0; ///< the larger, the darker the grey
    double alpha = 0;
};

/// The picture of a text being composed: a still shell of dots and twelve ribbons that wave around it.
class ComposingOrb final
{
public:
    static constexpr std::size_t shellCount = 38;
    static constexpr std::size_t ribbonCount = 12;
    static constexpr std::size_t ribbonLength = 44;
    static constexpr std::size_t dotCount = shellCount + ribbonCount * ribbonLength;

    using Frame = std::array<Dot, dotCount>;

    /// The dots `time` seconds into the animation, the far ones first. Equal times give equal frames; nothing
    /// is allocated.
    [[nodiscard]] static Frame frame(double time);
};

} // namespace quillmarsh
