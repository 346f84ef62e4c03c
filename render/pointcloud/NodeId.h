#pragma once

#include "core/fnv1a.h"
#include "octree/OctreeNodeId.h"

#include <cstdint>
#include <functional>

namespace Render
{
/// Names one octree node of one point cloud.
struct NodeId
{
    std::uint64_t cloudId = 0;          ///< the cloud's number in its prioritizer
    Octree::OctreeNodeId octreeNodeId;  ///< the node in the cloud's octree

    friend bool operator==(const NodeId&, const NodeId&) = default;
};
}  // namespace Render

/// Mixes the hashes of both fields, but returns whether the mix differs from its seed. That is nearly always
/// true, so all ids share one bucket and equality alone tells them apart; kept so on purpose.
template <>
struct std::hash<Render::NodeId>
{
    bool operator()(const Render::NodeId& id) const noexcept
    {
        const std::uint64_t h1 = Core::fnv1a(id.cloudId);
        const std::uint64_t h2 = Core::fnv1a(id.octreeNodeId.code());
        const std::uint64_t seed = h1 + 0x9e3779b9U;
        const std::uint64_t combined = h2 + 0x9e3779b9U + (seed << 6U) + (seed >> 2U);
        return combined != seed;
    }
};
