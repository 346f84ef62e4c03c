#pragma once

#include "math/NBoundingBox.h"
#include "math/Point.h"
#include "octree/Export.h"
#include "octree/Location.h"
#include "octree/NodePointData.h"
#include "octree/Octree.h"
#include "octree/OctreeNodeId.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace Octree
{
class PointSink;

/// What an opened data set says about itself.
///
/// Frame    absolute coordinates, in data units.
struct TreeDescription
{
    std::string name;                            ///< may be empty
    std::string encoding;                        ///< see Octree::encoding()
    Math::Point<double, 3> position;             ///< the origin that point positions are relative to
    Math::NBoundingBox<double, 3> boundingBox;   ///< tight
    Math::NBoundingBox<double, 3> boundingCube;  ///< the root's
    double spacing = 0.0;                        ///< point spacing of the root
    Math::Point<double, 3> positionStep;         ///< of stored integers; 0 for floating-point numbers
    std::vector<AttributeInfo> attributes;       ///< in storage order
    unsigned attributeMask = kNoAttributes;      ///< AttributeMask bits of what points have
    unsigned recordMask = kNoAttributes;         ///< likewise, of AttributeMask::kRecordAttributes
    Math::Point<double, 3> storedOrigin;         ///< what stored coordinates count from
    std::string coordinateSystem;                ///< see Octree::coordinateSystem()
    /// Lowest and highest intensity, between which grey is spread.
    std::pair<std::uint16_t, std::uint16_t> intensityRange{std::uint16_t{0}, std::uint16_t{65535}};
};

/// An opened data set of one kind: what Octree dispatches to.
///
/// Threads  all operations from any threads at once.
class Tree
{
public:
    virtual ~Tree() = default;

    /// The same all the time.
    virtual const TreeDescription& description() const noexcept = 0;

    /// The node's record, or nothing when the node does not exist or a stop was requested.
    /// @throws std::runtime_error  naming the file and what is wrong with it
    virtual std::optional<NodeInfo> nodeById(const OctreeNodeId& id, std::stop_token stopToken) const = 0;

    /// The children of a node in one look-up, or nothing when the node does not exist or a stop was
    /// requested.
    /// @throws std::runtime_error  naming the file and what is wrong with it
    virtual std::optional<ChildSummary> childSummary(const OctreeNodeId& id, std::stop_token stopToken)
        const = 0;

    /// Reads the points of an existing node: fills the arrays of the attributes asked for that the data set
    /// has, empties the others. Colours only from colours; what to do without them is not the tree's
    /// affair.
    /// @param attributes  AttributeMask bits
    /// @param unitScale   factor of the positions, after the origin is subtracted
    /// @param out         its pointCount on entry is the length of a visibility array that the hierarchy
    ///                    alone determines
    /// @return false when a stop was requested; `out` is then unchanged
    /// @throws std::runtime_error  naming the file and what is wrong with it
    virtual bool getNodePointData(
        const OctreeNodeId& id,
        unsigned attributes,
        double unitScale,
        NodePointColumns& out,
        std::stop_token stopToken
    ) const = 0;

    /// The same without arrays: hands the points to a sink as they are decoded, without normals. A visibility
    /// that the hierarchy alone determines is not handed over.
    /// @return false when a stop was requested; `sink` was not called then
    /// @throws std::runtime_error  naming the file and what is wrong with it; `sink` may have got points
    virtual bool passNodePoints(
        const OctreeNodeId& id,
        unsigned attributes,
        double unitScale,
        PointSink& sink,
        std::stop_token stopToken
    ) const = 0;

    /// Says that a node's record will soon be looked up: does so, unless what that takes lies far away; then it is
    /// on its way, before points that are.
    /// @return false while looking it up would wait for that
    /// @throws std::runtime_error  as nodeById()
    virtual bool expectNode(const OctreeNodeId& /*id*/) const { return true; }

    /// Takes that back.
    /// @throws std::runtime_error  as nodeById()
    virtual void forgetNode(const OctreeNodeId& /*id*/) const {}

    /// Says that the points of a node, whose record is known, will soon be read; does not wait. Where the files
    /// lie far away they are then on their way.
    virtual void expectPoints(const OctreeNodeId& /*id*/) const noexcept {}

    /// Takes that back.
    virtual void forgetPoints(const OctreeNodeId& /*id*/) const noexcept {}
};

/// Opens the data set with the reader of its kind.
/// @throws std::runtime_error  naming the file and what is wrong with it
OCTREE_API std::shared_ptr<const Tree> openTree(const Location& location);
}  // namespace Octree
