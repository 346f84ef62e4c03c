#pragma once

#include <algorithm>
#include <cstdint>

namespace Octree
{
/// Most bytes into which the points of a node may unpack. Real nodes have up to some hundred thousand points
/// of some tens of bytes.
inline constexpr std::uint64_t kMaxUnpackedSize = 256U << 20U;

/// Most bytes that compressed points may become, whatever their node announces. Points of real data sets
/// become 6 times as long at most; 64 times is allowed, and so many bytes that a million points without
/// content fit in any case.
constexpr std::uint64_t largestUnpackedSize(std::uint64_t storedSize) noexcept
{
    constexpr std::uint64_t kAlwaysAllowed = 64U << 20U;
    constexpr std::uint64_t kLargestRatio = 64;
    return storedSize >= kMaxUnpackedSize / kLargestRatio
               ? kMaxUnpackedSize
               : std::max(kAlwaysAllowed, storedSize * kLargestRatio);
}
}  // namespace Octree
