#pragma once

namespace Octree
{
/// What is known about a node's points without reading them.
enum class NodeVisibilityType : unsigned char
{
    PerPoint = 0,  ///< nothing: each point says for itself, or the data set knows no visibility
    Visible = 1,   ///< every point of the node is visible
    Hidden = 2,    ///< every point of the node and of its subtree is hidden
};
}  // namespace Octree
