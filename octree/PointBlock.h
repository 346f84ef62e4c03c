#pragma once

#include "math/Color.h"
#include "octree/NodePointData.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Octree
{
/// Some consecutive points of a node, decoded, one array per attribute. Small enough for the nearest cache,
/// so that what is made of the points never goes through memory in between.
///
/// The first pointCount entries of an array hold values; an attribute that is not there is 0 for every point.
/// Frame    positions relative to the octree's position, times its unit scale.
/// Threads  a plain value.
struct PointBlock
{
    /// Most points of a block.
    static constexpr std::size_t kCapacity = 256;

    std::size_t pointCount = 0;                   ///< how many points there are
    unsigned attributes = kNoAttributes;          ///< AttributeMask bits of what is there; never normals
    std::array<double, kCapacity> x{};            ///< positions
    std::array<double, kCapacity> y{};            ///< positions
    std::array<double, kCapacity> z{};            ///< positions
    std::array<Math::Color, kCapacity> colors{};  ///< to draw with
    std::array<std::uint16_t, kCapacity> intensities{};     ///< as stored
    std::array<std::uint8_t, kCapacity> classifications{};  ///< as stored
    std::array<std::uint32_t, kCapacity> scanIndices{};     ///< as stored
    std::array<std::uint8_t, kCapacity> visibilities{};     ///< 0 visible, anything else hidden
};
}  // namespace Octree
