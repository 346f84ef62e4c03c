#pragma once

#include "octree/unpackedSize.h"

#include <cstdint>
#include <stdexcept>
#include <string>

namespace Entwine
{
/// What the hierarchy makes expect of a tile, for messages.
inline std::string rowsExpected(std::uint64_t pointCount, std::uint64_t bytesPerPoint)
{
    return std::to_string(pointCount) + " points of " + std::to_string(bytesPerPoint) +
           " bytes as the hierarchy says";
}

/// @throws std::runtime_error  for rows that take more than a node may
inline void checkRows(std::uint64_t pointCount, std::uint64_t bytesPerPoint)
{
    if (pointCount * bytesPerPoint > Octree::kMaxUnpackedSize)  // 32 bits times at most 8192
    {
        throw std::runtime_error(
            rowsExpected(pointCount, bytesPerPoint) + " are too many, expected at most " +
            std::to_string(Octree::kMaxUnpackedSize) + " bytes"
        );
    }
}
}  // namespace Entwine
