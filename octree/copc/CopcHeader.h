#pragma once

#include "math/NBoundingBox.h"
#include "math/Point.h"
#include "octree/Export.h"
#include "octree/las/LazHeader.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stop_token>

namespace Core
{
class ByteSource;
}

namespace Copc
{
/// A part of the file.
struct Extent
{
    std::uint64_t offset = 0;  ///< of the first byte
    std::uint64_t size = 0;    ///< in bytes
};

/// What a COPC file says before its points, checked: the LAS header and the record on the octree.
///
/// Frame    absolute coordinates.
/// Threads  a plain value.
struct CopcHeader
{
    Las::LazHeader las;                          ///< how points are stored
    Math::NBoundingBox<double, 3> boundingCube;  ///< the root's
    Math::NBoundingBox<double, 3> boundingBox;   ///< around the points
    double spacing = 0.0;                        ///< of the root
    Extent rootPage;                             ///< of the hierarchy
    double smallestTime = 0.0;                   ///< GPS times of the points as the file says; not checked
    double largestTime = 0.0;                    ///< likewise
    std::string coordinateSystem;                ///< its WKT; empty when the file has none
};

/// Bytes of an entry of the hierarchy, of which each page is a whole number.
inline constexpr std::uint64_t kHierarchyEntry = 32;

/// Largest size of a page of the hierarchy in bytes: a million nodes.
inline constexpr std::uint64_t kMaxPageSize = 32U << 20U;

/// @throws std::runtime_error  naming place and expectation, for a page of the hierarchy that is empty, too
///                             large, no whole number of entries, or not within the file
OCTREE_API void checkPage(const Extent& page, std::uint64_t fileSize);

/// True for bytes that begin as those of a LAS file do, whatever is in it.
OCTREE_API bool isLas(std::span<const std::byte> begin) noexcept;

/// Reads and checks all that stands before the points.
/// @return nothing when a stop was requested
/// @throws std::runtime_error  naming the file, what is wrong and what was expected; a LAS file that is none of
///                             COPC is told how to become one
OCTREE_API std::optional<CopcHeader> readCopcHeader(
    const Core::ByteSource& file, const std::stop_token& stopToken = {}
);
}  // namespace Copc
