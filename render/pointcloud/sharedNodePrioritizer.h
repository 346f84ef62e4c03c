#pragma once

#include "render/Export.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Render
{
class NodePrioritizer;

/// The prioritizer that the point clouds of a group share, for instance those of one renderer.
///
/// It lives as long as somebody holds it. A cloud with a smaller budget than that of the prioritizer lowers
/// it itself.
/// Threads  any.
/// @param groupKey  names the group
/// @param budget    points, for a prioritizer that has to be made
RENDER_API std::shared_ptr<NodePrioritizer> sharedNodePrioritizer(std::uint64_t groupKey, std::size_t budget);
}  // namespace Render
