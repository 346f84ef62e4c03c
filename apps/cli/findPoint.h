#pragma once

#include <math/Color.h>
#include <math/Point.h>
#include <octree/Octree.h>

#include <cstdint>
#include <optional>

namespace Cli
{
/// A point of a data set with what is known of it.
struct FoundPoint
{
    double distance = 0.0;  ///< from where it was looked for, in the octree's frame
    Math::Color color;      ///< to draw with
    std::optional<std::uint16_t> intensity;
    std::optional<std::uint8_t> classification;
    std::optional<std::uint32_t> scanIndex;
};

/// The point nearest to a place among the nodes around it; nothing where no node is.
/// @param place  in the octree's frame
/// @throws std::runtime_error  naming the file that cannot be read
std::optional<FoundPoint> findPoint(const Octree::Octree& octree, const Math::Point<float, 3>& place);
}  // namespace Cli
