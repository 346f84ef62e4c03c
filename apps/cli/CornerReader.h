#pragma once

#include "apps/cli/PolygonWithHoles.h"
#include <math/Point.h>

#include <cstddef>

namespace Cli
{
/// Makes corners of numbers of a file, as many as a region may have.
///
/// Threads  one at a time.
class CornerReader
{
public:
    /// Most corners of all polygons together.
    static constexpr std::size_t kMostCorners = 100'000;

    /// @param origin  what corners become relative to, in double precision
    explicit CornerReader(const Math::Point<double, 3>& origin) : mOrigin(origin) {}

    /// Adds a corner.
    /// @throws std::runtime_error  for numbers that are no coordinates, and too many corners
    void add(PolygonWithHoles::Ring& ring, double x, double y);

private:
    Math::Point<double, 3> mOrigin;
    std::size_t mCount = 0;
};
}  // namespace Cli
