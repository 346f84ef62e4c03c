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
    static constexpr std::size_t kCapacity = 256;

    std::size_t pointCount = 0;
    unsigned attributes = kNoAttributes;  ///< AttributeMask bits of what is there; never normals
    std::array<double, kCapacity> x{};
    std::array<double, kCapacity> y{};
    std::array<double, kCapacity> z{};
    std::array<Math::Color, kCapacity> colors{};
    std::array<std::uint16_t, kCapacity> intensities{};
    std::array<std::uint8_t, kCapacity> classifications{};
    std::array<std::uint32_t, kCapacity> scanIndices{};
    std::array<std::uint8_t, kCapacity> visibilities{};  ///< 0 visible, anything else hidden
};
}  // namespace Octree
