#pragma once

#include "samples/scene/Surface.h"

#include <span>

namespace Samples
{
enum class OpeningKind
{
    Window,
    ShutteredWindow,
    Door,
    Dark,  ///< open or louvred: gates, belfries
};

/// A rectangle in a wall, in metres from the wall's lower corner.
struct Opening
{
    double left = 0;
    double bottom = 0;
    double width = 1;
    double height = 1;
    OpeningKind kind = OpeningKind::Window;
};

/// A rectangular wall and what shows of it from outside.
struct Wall
{
    Vector corner;
    Vector along;  ///< unit vector; outside is along x up
    double width = 1;
    double height = 1;
    Finish finish;
    Finish trim;  ///< doors and shutters
};

/// Builds a wall with panes, frames and reveals set back in its openings.
void addWall(Assembly& assembly, const Wall& wall, std::span<const Opening> openings);
}  // namespace Samples
