#include "render/pointcloud/pointClasses.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>

namespace Render
{
namespace
{
constexpr std::size_t kFirstOfUsers = 64;

Math::Color opaque(unsigned int red, unsigned int green, unsigned int blue)
{
    return Math::Color(
        static_cast<unsigned char>(red),
        static_cast<unsigned char>(green),
        static_cast<unsigned char>(blue),
        255
    );
}

Math::Color ofHue(double hue, double saturation, double value)
{
    const auto channel = [=](double offset)
    {
        const double place = std::fmod(offset + 6.0 * hue, 6.0);
        const double share = std::clamp(std::min(place, 4.0 - place), 0.0, 1.0);
        return static_cast<unsigned int>(std::lround(255.0 * value * (1.0 - saturation * share)));
    };
    return opaque(channel(5.0), channel(3.0), channel(1.0));
}
}  // namespace

PointClasses asprsClasses()
{
    const PointClass known[] = {
        {"created, never classified", opaque(170, 170, 170)},
        {"unclassified", opaque(200, 200, 200)},
        {"ground", opaque(168, 120, 70)},
        {"low vegetation", opaque(170, 220, 110)},
        {"medium vegetation", opaque(90, 180, 70)},
        {"high vegetation", opaque(20, 125, 45)},
        {"building", opaque(230, 110, 60)},
        {"low point (noise)", opaque(255, 0, 220)},
        {"model key-point", opaque(250, 220, 60)},
        {"water", opaque(50, 120, 220)},
        {"rail", opaque(110, 90, 130)},
        {"road surface", opaque(95, 95, 105)},
        {"overlap", opaque(140, 200, 210)},
        {"wire - guard", opaque(255, 235, 130)},
        {"wire - conductor", opaque(250, 190, 0)},
        {"transmission tower", opaque(70, 60, 180)},
        {"wire-structure connector", opaque(0, 200, 190)},
        {"bridge deck", opaque(190, 150, 210)},
        {"high noise", opaque(220, 0, 60)},
    };
    PointClasses classes;
    const std::array<Math::Color, 256> distinct = distinctColors();
    for (std::size_t i = 0; i < classes.size(); ++i)
    {
        const bool isKnown = i < std::size(known);
        const char* const kind = i < kFirstOfUsers ? "reserved " : "user defined ";
        classes[i] = isKnown ? known[i] : PointClass{kind + std::to_string(i), distinct[i]};
    }
    return classes;
}

std::array<Math::Color, 256> colorsOf(const PointClasses& classes)
{
    std::array<Math::Color, 256> colors;
    std::ranges::transform(classes, colors.begin(), &PointClass::color);
    return colors;
}

std::array<Math::Color, 256> distinctColors()
{
    constexpr double kGoldenTurn = 0.618033988749895;  // no two of its multiples come close soon
    std::array<Math::Color, 256> colors;
    for (std::size_t i = 0; i < colors.size(); ++i)
    {
        const double hue = std::fmod(0.58 + kGoldenTurn * static_cast<double>(i), 1.0);
        colors[i] = ofHue(hue, i % 2 == 0 ? 0.75 : 0.5, i % 3 == 2 ? 0.7 : 0.92);
    }
    return colors;
}
}  // namespace Render
