#pragma once

#include "math/Point.h"
#include "samples/OctreeWriter.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Samples
{
/// How an attribute is described in the metadata.
struct AttributeLayout
{
    std::string_view name;
    std::string_view type;
    unsigned elementCount;
    unsigned elementSize;  ///< bytes of an element in plain rows
};

AttributeLayout layoutOf(Attribute attribute) noexcept;

/// Smallest and largest value of each element, as the metadata gives them.
struct AttributeRange
{
    std::array<double, 3> min;
    std::array<double, 3> max;

    AttributeRange() noexcept;
    void include(const std::array<double, 3>& values) noexcept;
    void include(const AttributeRange& other) noexcept;
};

/// A node's bytes in octree.bin and what its points add to the metadata.
struct EncodedNode
{
    std::string bytes;
    std::vector<AttributeRange> ranges;                ///< one per attribute
    std::array<std::uint64_t, 256> classifications{};  ///< how many points have each code
};

/// Turns the points of nodes into the bytes of octree.bin.
///
/// Threads  const operations from any threads at once.
class OctreeNodeEncoder
{
public:
    /// @param options  with an offset; must outlive the encoder
    explicit OctreeNodeEncoder(const OctreeWriterOptions& options);

    /// @param indices  which of the points the node holds; sorted here by position code
    /// @throws std::invalid_argument  for a position that does not fit its integers
    EncodedNode encode(std::span<const SamplePoint> points, std::span<const std::uint32_t> indices) const;

private:
    /// A point with its integers, in the order of storage.
    struct StoredPoint
    {
        PositionCode code;
        std::array<std::int32_t, 3> grid;
        std::uint32_t index;
    };

    StoredPoint stored(const SamplePoint& point, std::uint32_t index) const;
    std::int32_t gridCoordinate(double value, std::size_t axis) const;
    void append(std::string& bytes, Attribute attribute, const SamplePoint& point, const StoredPoint& place)
        const;
    std::array<double, 3> values(Attribute attribute, const SamplePoint& point, const StoredPoint& place)
        const;
    std::string compressed(const std::string& bytes) const;

    const OctreeWriterOptions& mOptions;
    Math::Point<double, 3> mOffset;
};
}  // namespace Samples
