#include "samples/scene/facade.h"

#include <algorithm>
#include <vector>

namespace Samples
{
namespace
{
constexpr double kRecess = 0.14;
constexpr double kFrameWidth = 0.08;
constexpr Vector kUp{0, 0, 1};
constexpr Finish kGlass{Material::Glass, {1, 1, 1}, 0.8};
constexpr Finish kFrame{Material::WindowFrame, {0.78, 0.77, 0.74}, 1.6};
constexpr Finish kDark{Material::WindowFrame, {0.035, 0.03, 0.028}, 0.8};

void addFilling(Assembly& assembly, const Wall& wall, const Opening& opening)
{
    const Vector inwards = cross(kUp, wall.along);
    const Vector across = wall.along * opening.width;
    const Vector upwards = kUp * opening.height;
    const Vector corner = wall.corner + wall.along * opening.left + kUp * opening.bottom;
    const Vector depth = inwards * kRecess;
    assembly.quad(corner, depth, upwards, wall.finish);
    assembly.quad(corner + across + depth, -depth, upwards, wall.finish);
    assembly.quad(corner, across, depth, kFrame);
    assembly.quad(corner + upwards, depth, across, wall.finish);

    const bool isWindow = opening.kind == OpeningKind::Window || opening.kind == OpeningKind::ShutteredWindow;
    const Finish& pane = isWindow ? kGlass : (opening.kind == OpeningKind::Door ? wall.trim : kDark);
    assembly.quad(corner + depth, across, upwards, pane);
    if (!isWindow)
    {
        return;
    }
    const Vector bars = corner + depth * 0.7;
    const auto bar = [&](double left, double bottom, double width, double height)
    { assembly.quad(bars + wall.along * left + kUp * bottom, wall.along * width, kUp * height, kFrame); };
    bar(0, 0, kFrameWidth, opening.height);
    bar(opening.width - kFrameWidth, 0, kFrameWidth, opening.height);
    bar(0, 0, opening.width, kFrameWidth);
    bar(0, opening.height - kFrameWidth, opening.width, kFrameWidth);
    bar((opening.width - kFrameWidth) / 2, 0, kFrameWidth, opening.height);

    if (opening.kind == OpeningKind::ShutteredWindow)
    {
        const Vector shutter = wall.along * (opening.width * 0.42);
        const Vector front = corner - inwards * 0.04;
        assembly.quad(front - shutter, shutter, upwards, wall.trim);
        assembly.quad(front + across, shutter, upwards, wall.trim);
    }
}
}  // namespace

void addWall(Assembly& assembly, const Wall& wall, std::span<const Opening> openings)
{
    // the wall is cut along all edges of the openings; what lies in none of them is wall
    std::vector<double> columns{0, wall.width};
    std::vector<double> rows{0, wall.height};
    for (const Opening& opening : openings)
    {
        columns.insert(columns.end(), {opening.left, opening.left + opening.width});
        rows.insert(rows.end(), {opening.bottom, opening.bottom + opening.height});
    }
    std::ranges::sort(columns);
    std::ranges::sort(rows);
    for (std::size_t i = 0; i + 1 < columns.size(); ++i)
    {
        for (std::size_t j = 0; j + 1 < rows.size(); ++j)
        {
            const double width = columns[i + 1] - columns[i];
            const double height = rows[j + 1] - rows[j];
            const double u = columns[i] + width / 2;
            const double v = rows[j] + height / 2;
            const auto covers = [&](const Opening& opening)
            {
                return u > opening.left && u < opening.left + opening.width && v > opening.bottom &&
                       v < opening.bottom + opening.height;
            };
            if (width > 1e-9 && height > 1e-9 && std::ranges::none_of(openings, covers))
            {
                assembly.piece(
                    wall.corner + wall.along * columns[i] + kUp * rows[j],
                    wall.along * width,
                    kUp * height,
                    columns[i],
                    rows[j],
                    wall.finish
                );
            }
        }
    }
    for (const Opening& opening : openings)
    {
        addFilling(assembly, wall, opening);
    }
}
}  // namespace Samples
