#pragma once

#include "samples/OctreeNodeEncoder.h"
#include "samples/OctreeWriter.h"
#include "samples/octreeHierarchy.h"

#include <string>
#include <vector>

namespace Samples
{
/// The text of metadata.json.
/// @param options  with cube, offset and spacing
/// @param encoded  one for each node
std::string octreeMetadata(
    const OctreeWriterOptions& options,
    const std::vector<HierarchyNode>& nodes,
    const std::vector<EncodedNode>& encoded,
    const Hierarchy& hierarchy
);
}  // namespace Samples
