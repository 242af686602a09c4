#include "overlay/ComposingOrb.h"

#include "overlay/VectorState.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <numeric>

namespace quillmarsh {

namespace {

constexpr double sphereRadius = 24.96;
constexpr double centre = 32;
/// The fixed tilt of the view, 0.3 rad.
constexpr double tiltSin = 0.29552020666133955;
constexpr double tiltCos = 0.955336489125606;
/// The tilt of the rings, 0.55 rad.
constexpr double ringSin = 0.5226872289306592;
constexpr double ringCos = 0.8525245220595057;

using Shell = std::array<Dot, ComposingOrb::shellCount>;

Shell makeShell()
{
    constexpr double goldenAngle = 0.7639320225002102; // in units of pi
    Shell shell;
    for (std::size_t i = 0; i < shell.size(); ++i) {
        const double v = 1 - 2 * (static_cast<double>(i) + 0.5) / 38;
        const double rho = std::sqrt(1 - v * v);
        const double theta = static_cast<double>(i) * std::numbers::pi * goldenAngle;
        const double px = rho * std::cos(theta) * sphereRadius;
        const double pz = rho * std::sin(theta) * sphereRadius;
        const double py = v * sphereRadius;
        const double z = py * tiltSin + pz * tiltCos;
        const double depth = (z / sphereRadius + 1) / 2;
        shell[i] = {px + centre,       pz * tiltSin - py * tiltCos + centre, z, 0.31661043069910594, 0.78,
                    depth * 0.22 + 0.1};
    }
    return shell;
}

/// What never changes at one of the 44 places around a ring.
struct RingPlace
{
    double angle = 0;
    double sin = 0;
    double cos = 0;
};

using Ring = std::array<RingPlace, ComposingOrb::ribbonLength>;

Ring makeRing()
{
    Ring ring;
    for (std::size_t j = 0; j < ring.size(); ++j) {
        const double angle = 2 * std::numbers::pi * static_cast<double>(j) / 44;
        ring[j] = {angle, std::sin(angle), std::cos(angle)};
    }
    return ring;
}

/// What the dots of one ribbon share.
struct Ribbon
{
    explicit Ribbon(std::size_t index)
        : offset((static_cast<double>(index) - 5.5) * 0.075), phase(0.22 * static_cast<double>(index))
    {
        const double outwards = std::abs(static_cast<double>(index) - 5.5) / 5.5;
        amplitude = 1 - 0.25 * outwards;
        lift = 0.18 * outwards;
    }

    double offset = 0;
    double phase = 0;
    double amplitude = 0;
    double lift = 0;
};

Dot ribbonDot(const Ribbon& ribbon, const RingPlace& place, double height)
{
    const double qz = place.sin * ringCos - height * ringSin;
    const double qy = place.sin * ringSin + height * ringCos;
    const double qx = place.cos;
    const double scale = sphereRadius / std::sqrt(qx * qx + qy * qy + qz * qz);
    const double x = qx * scale;
    const double y = qy * scale;
    const double z = qz * scale;
    const double nearness = z * tiltSin + y * tiltCos;
    const double depth = (nearness / sphereRadius + 1) / 2;
    return {x + centre,
            y * tiltSin - z * tiltCos + centre,
            nearness,
            std::max(ribbon.amplitude * (depth * 1.445 + 0.935) * 0.3957630383738824, 0.3),
            ribbon.lift + (0.52 - 0.44 * depth),
            0.6 * depth + 0.4};
}

ComposingOrb::Frame unsortedFrame(double time)
{
    static const Shell shell = makeShell();
    static const Ring ring = makeRing();
    std::array<double, ComposingOrb::ribbonLength> swell;
    std::transform(ring.begin(), ring.end(), swell.begin(),
                   [time](const RingPlace& place) { return 0.07 * std::sin(1.1 * time + 5 * place.angle); });
    ComposingOrb::Frame dots;
    auto out = std::copy(shell.begin(), shell.end(), dots.begin());
    for (std::size_t r = 0; r < ComposingOrb::ribbonCount; ++r) {
        const Ribbon ribbon(r);
        for (std::size_t j = 0; j < ring.size(); ++j) {
            const double wave = 0.16 * std::sin(3 * ring[j].angle - 1.7 * time + ribbon.phase) + swell[j];
            *out++ = ribbonDot(ribbon, ring[j], ribbon.offset + wave);
        }
    }
    return dots;
}

using Order = std::array<std::uint16_t, ComposingOrb::dotCount>;

constexpr std::size_t sliceCount = 512;

/// Which slice of the sphere a depth lies in, the farthest first.
std::size_t sliceOf(double z)
{
    const double slice = (z / sphereRadius + 1) * (sliceCount / 2);
    return static_cast<std::size_t>(std::min(std::max(0.0, slice), sliceCount - 1.0));
}

/// Puts the dots of each slice together, in the order in which they come.
Order bySlices(const ComposingOrb::Frame& dots)
{
    std::array<std::uint16_t, ComposingOrb::dotCount> slices;
    std::array<std::uint16_t, sliceCount + 1> starts{};
    for (std::size_t i = 0; i < dots.size(); ++i) {
        slices[i] = static_cast<std::uint16_t>(sliceOf(dots[i].z));
        ++starts[slices[i] + 1];
    }
    std::partial_sum(starts.begin(), starts.end(), starts.begin());
    Order order;
    for (std::uint16_t i = 0; i < dots.size(); ++i)
        order[starts[slices[i]]++] = i;
    return order;
}

/// The order of a stable sort by z. There are about as many slices as dots, which leaves to the insertion a
/// few steps within each; three times as fast as a sort by comparing alone, and without its buffer.
Order fromFarToNear(const ComposingOrb::Frame& dots)
{
    Order order = bySlices(dots);
    for (std::size_t i = 1; i < order.size(); ++i) {
        const std::uint16_t dot = order[i];
        std::size_t place = i;
        for (; place > 0 && dots[dot].z < dots[order[place - 1]].z; --place)
            order[place] = order[place - 1];
        order[place] = dot;
    }
    return order;
}

} // namespace

ComposingOrb::Frame ComposingOrb::frame(double time)
{
    clearVectorUpperHalves();
    const Frame dots = unsortedFrame(time);
    const Order order = fromFarToNear(dots);
    Frame sorted;
    std::transform(order.begin(), order.end(), sorted.begin(),
                   [&](std::uint16_t index) { return dots[index]; });
    return sorted;
}

} // namespace quillmarsh
