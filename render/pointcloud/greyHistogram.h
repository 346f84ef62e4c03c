#pragma once

#include "render/pointcloud/BrightnessHistogram.h"
#include "render/pointcloud/NodePrioritizer.h"
#include "render/pointcloud/SelectionTree.h"
#include "render/scene/RenderMode.h"

namespace Render
{
/// Counts the grey values of the points of levels 0 to 4, which represent the rest, breadth first.
///
/// The grey of a point is what the picture shows of it: its 8-bit intensity while the cloud is coloured by
/// intensity, else the mean of its red, green and blue. A node that cannot be read ends the walk, and so does
/// one that the source does not give: what could be read has to do, since loading reports the broken node.
BrightnessHistogram greyHistogram(
    const SelectionTree& tree, const VertexSource& vertexSource, RenderMode renderMode
);
}  // namespace Render
