#pragma once

#include "octree/Export.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace Octree
{
/// Names one node of an octree by the path of child indices that leads to it from the root.
///
/// The 64 bits hold a leading 1 followed by three bits a level, so the value is unique over all levels and
/// its numeric order is breadth first: parents before children, siblings in child order. Child index: x =
/// 4, y = 2, z = 1, a set bit is the upper half.
/// Shape    8 bytes.
/// Threads  a plain value.
/// Source   location codes of linear octrees: I. Gargantini, "An Effective Way to Represent Quadtrees"
///          (1982), with the sentinel bit of M. S. Warren, J. K. Salmon, "A Parallel Hashed Oct-Tree N-Body
///          Algorithm" (1993).
class OctreeNodeId
{
public:
    /// The deepest level that fits; 21 x 3 bits and the sentinel take all 64.
    static constexpr std::uint64_t MAX_REPRESENTABLE_LEVEL = 21;

    /// The root.
    constexpr OctreeNodeId() noexcept = default;

    constexpr bool isRoot() const noexcept { return mCode == 1; }

    /// Number of steps from the root, 0 to 21.
    OCTREE_API std::uint64_t level() const noexcept;

    /// The node one level up; the root is its own parent.
    constexpr OctreeNodeId parent() const noexcept { return isRoot() ? *this : OctreeNodeId(mCode >> 3U); }

    /// Which child of its parent this node is, 0 to 7; 0 for the root.
    constexpr unsigned childIndex() const noexcept
    {
        return isRoot() ? 0U : static_cast<unsigned>(mCode & 7U);
    }

    /// @param index  0 to 7
    /// @throws std::out_of_range  for an index above 7 or a node at the deepest level
    OCTREE_API OctreeNodeId child(unsigned index) const;

    /// "r" and one digit a level.
    OCTREE_API std::string name() const;

    /// The inverse of name().
    /// @throws std::invalid_argument  for any other text, or more than 21 digits
    OCTREE_API static OctreeNodeId fromName(std::string_view name);

    /// The 64 bits as they are.
    constexpr std::uint64_t code() const noexcept { return mCode; }

    friend constexpr bool operator==(const OctreeNodeId&, const OctreeNodeId&) noexcept = default;
    friend constexpr auto operator<=>(const OctreeNodeId&, const OctreeNodeId&) noexcept = default;

private:
    constexpr explicit OctreeNodeId(std::uint64_t code) noexcept : mCode(code) {}

    std::uint64_t mCode = 1;
};

static_assert(sizeof(OctreeNodeId) == 8);
}  // namespace Octree

/// Equal ids have equal hashes.
template <>
struct std::hash<Octree::OctreeNodeId>
{
    std::size_t operator()(const Octree::OctreeNodeId& id) const noexcept
    {
        std::uint64_t h =
            id.code();  // finalizer of SplitMix64: neighbours in the tree spread over all buckets
        h = (h ^ (h >> 30U)) * 0xbf58476d1ce4e5b9ULL;
        h = (h ^ (h >> 27U)) * 0x94d049bb133111ebULL;
        return static_cast<std::size_t>(h ^ (h >> 31U));
    }
};
