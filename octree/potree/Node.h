#pragma once

#include "math/NBoundingBox.h"
#include "octree/OctreeNodeId.h"

#include <array>
#include <cstdint>
#include <memory>

namespace PoTree
{
/// What a hierarchy record says a node is. Type leaf says nothing about children: the child mask does.
enum class NodeType : std::uint8_t
{
    Normal = 0,
    Leaf = 1,
    Proxy = 2,  ///< stands for a node whose own record begins another chunk
};

/// One node of the hierarchy.
///
/// The slots hold the children that have a record in the same chunk. A chunk's nodes form a tree at most 21
/// levels deep, so releasing it recursively is harmless.
/// Frame    the box is absolute, in data units.
/// Threads  not changed once its chunk is parsed, then safe to read from any thread.
struct Node
{
    /// Without points and children.
    Node(const Octree::OctreeNodeId& nodeId, const Math::NBoundingBox<double, 3>& box)
        : id(nodeId), boundingBox(box)
    {
    }

    Octree::OctreeNodeId id;           ///< which node
    NodeType type = NodeType::Normal;  ///< whether it has children, and where
    std::uint8_t flags = 0;            ///< 1: every point is visible, 2: every point is hidden; 4 bits
    std::uint32_t pointCount = 0;      ///< as the record says
    std::uint64_t byteOffset = 0;      ///< into octree.bin; of a proxy into hierarchy.bin
    std::uint64_t byteSize = 0;        ///< of the points; of a proxy the size of its chunk
    Math::NBoundingBox<double, 3> boundingBox;      ///< the node's cube
    std::uint8_t childMask = 0;                     ///< bit i: child i exists
    std::array<std::shared_ptr<Node>, 8> children;  ///< see above; null where there is none
};
}  // namespace PoTree
