#pragma once

#include "math/NBoundingBox.h"
#include "math/Point.h"
#include "octree/CacheIdentifier.h"
#include "octree/ChildSummary.h"
#include "octree/Export.h"
#include "octree/IntensityRange.h"
#include "octree/Location.h"
#include "octree/NodePointData.h"
#include "octree/NodeVisibilityType.h"
#include "octree/OctreeChildNodeIdRange.h"
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

/// One attribute of a data set as its metadata describes it.
struct AttributeInfo
{
    std::string name;               ///< as the metadata spells it
    std::string type;               ///< int8 .. int64, uint8 .. uint64, float, double
    std::uint64_t sizeInBytes = 0;  ///< bytes per point as the metadata says
    std::vector<double> min;        ///< one value per element; empty when the data set does not say
    std::vector<double> max;        ///< likewise
};

/// One node of the hierarchy, without its points.
struct NodeInfo
{
    OctreeNodeId id;               ///< which node
    std::uint64_t pointCount = 0;  ///< hidden points included
    unsigned childMask = 0;        ///< bit i: child i exists
    /// whether all, none or some of its points are visible
    NodeVisibilityType visibility = NodeVisibilityType::PerPoint;
};

/// An octree point cloud on disk, of whatever kind.
///
/// Level of detail is additive: each point lies in exactly one node, and a node with all its ancestors
/// gives the full set there.
///
/// Frame    everything float or relative lies in the octree's own frame: (absolute coordinate - position())
///          x unitScale(), with the subtraction done in double precision, so that projected coordinates
///          lose nothing in 32-bit floats. position() is absolute, never scaled.
/// Threads  all operations from any threads at once. Beside setUnitScale(), setShownIntensityRange() and
///          addExternalAttributeLocation() each const operation works with the old or with the new value.
class OCTREE_API Octree
{
public:
    /// Opens the data set: reads its metadata and checks it; node data are read when asked for.
    /// @param unitScale  scene units per data unit, above 0 and finite
    /// @throws std::runtime_error      naming the file and what is wrong with it
    /// @throws std::invalid_argument   for a bad unit scale
    Octree(const Location& location, double unitScale);
    ~Octree();
    Octree(const Octree&) = delete;
    Octree& operator=(const Octree&) = delete;

    /// Where the data set lies, and its kind.
    const Location& location() const noexcept;
    Kind kind() const noexcept;

    /// The data set's own name, or that of its folder, of a COPC file that of the file.
    std::string name() const;

    /// "BROTLI" or "DEFAULT" for three files, "binary", "zstandard" or "laszip" for Entwine Point Tiles, "laszip"
    /// for COPC.
    std::string encoding() const;

    /// The origin of the octree's frame in absolute coordinates.
    Math::Point<double, 3> position() const noexcept;

    /// Scene units per data unit.
    double unitScale() const noexcept;

    /// @throws std::invalid_argument  for a value that is not above 0 and finite
    void setUnitScale(double unitScale);

    /// The tight bounds of the points.
    Math::NBoundingBox<float, 3> boundingBox() const;

    /// The root's cube.
    Math::NBoundingBox<float, 3> boundingCube() const;

    /// A node's cube.
    Math::NBoundingBox<float, 3> boundingCube(const OctreeNodeId& id) const;

    /// Tight bounds and root cube in absolute coordinates, unscaled.
    Math::NBoundingBox<double, 3> absoluteBoundingBox() const noexcept;
    Math::NBoundingBox<double, 3> absoluteBoundingCube() const noexcept;

    /// Point spacing of a level times the unit scale: the root's halved once per level.
    float spacing(std::uint64_t level = 0) const noexcept;

    /// Distance between neighbouring positions that the data set can store, per axis, times the unit scale;
    /// 0 where it stores plain floating-point numbers. Points may lie outside their node's cube by up to
    /// this: writers round.
    Math::Point<double, 3> positionStep() const noexcept;

    /// The node that all others lie below.
    OctreeNodeId root() const noexcept;

    /// Level of a node, 0 for the root.
    std::uint64_t level(const OctreeNodeId& id) const noexcept;

    /// The node's record of the hierarchy, which is read as far as needed.
    /// @throws std::runtime_error  "Failed to fetch node by id" when reading was stopped or failed (nested
    ///                             exceptions name the file), or the node does not exist
    NodeInfo nodeInfo(const OctreeNodeId& id, std::stop_token stopToken = {}) const;

    /// The node's children in one look-up, however many they are.
    /// @throws std::runtime_error  as nodeInfo()
    ChildSummary childSummary(const OctreeNodeId& id, std::stop_token stopToken = {}) const;

    /// The node's existing children in child order.
    OctreeChildNodeIdRange children(const OctreeNodeId& id, std::stop_token stopToken = {}) const;

    /// True when the node has no children, whatever its record type says.
    bool isLeaf(const OctreeNodeId& id, std::stop_token stopToken = {}) const;

    /// What is known of the node's visibility; an external data set counts where the main one knows none.
    /// Without any, PerPoint is the answer for whatever id and nothing is read.
    NodeVisibilityType nodeVisibility(const OctreeNodeId& id, std::stop_token stopToken = {}) const;

    /// Reads and decodes a node's points: those of `out.attributeMask()` that exist. Colours fall back to
    /// intensity and white as NodePointData::color says. Attributes missing in the main data set come from
    /// the external ones.
    /// @return false when a stop was requested or the data could not be read; readNodePointData tells why
    bool getNodePointData(const OctreeNodeId& id, NodePointData& out, std::stop_token stopToken = {}) const;

    /// Says that a node's record will soon be looked up, in the external data sets too; does not wait. What of the
    /// hierarchies lies far away is then on its way, before points that are.
    /// @return false while looking it up would wait for that; then this can be said again to ask
    bool expectNode(const OctreeNodeId& id) const noexcept;

    /// Takes that back.
    void forgetNode(const OctreeNodeId& id) const noexcept;

    /// Says that a node's points will soon be read, external attributes too; does not wait. What lies far away is
    /// then on its way.
    /// @param attributes  AttributeMask bits of what will be read
    void expectNodePoints(const OctreeNodeId& id, unsigned attributes = kAllAttributes) const noexcept;

    /// Takes that back.
    /// @param attributes  as they were expected
    void forgetNodePoints(const OctreeNodeId& id, unsigned attributes = kAllAttributes) const noexcept;

    /// getNodePointData(), but a failure is thrown with the file's name and what was wrong.
    /// @return false only when a stop was requested
    bool readNodePointData(const OctreeNodeId& id, NodePointData& out, std::stop_token stopToken = {}) const;

    /// The same without arrays of the whole node: hands the points to a sink as they are decoded, without
    /// normals. Every block has colours if they are wanted.
    /// @param attributes  AttributeMask bits
    /// @return false only when a stop was requested; `sink` was not called then
    /// @throws std::runtime_error  naming the file and what was wrong; `sink` may have got points
    bool passNodePoints(
        const OctreeNodeId& id, unsigned attributes, PointSink& sink, std::stop_token stopToken = {}
    ) const;

    /// The attributes that points have, external ones included.
    unsigned attributeMask() const noexcept;

    /// The bits of AttributeMask::kRecordAttributes that points have, external ones included.
    unsigned recordMask() const noexcept;

    /// The coordinate system as the data set says it, as WKT where it has that, else by a code such as "EPSG:3857"
    /// or in other words; empty when it says nothing.
    std::string coordinateSystem() const;

    /// What stored coordinates count from: absolute, never scaled; with positionStep() it says which positions the
    /// data set can store.
    Math::Point<double, 3> storedOrigin() const noexcept;

    /// The data set's attribute list in storage order.
    std::vector<AttributeInfo> attributes() const;

    /// Smallest and largest intensity that the data set declares, of COPC that the root's points have; (0, 65535)
    /// when it does not say.
    std::pair<std::uint16_t, std::uint16_t> intensityRange() const noexcept;

    /// Which intensities become dark and bright where they are to be 8 bits: in vertices, and in the greys of
    /// points without colours. Without one, vertices have the upper 8 of the 16 bits, and greys spread over
    /// intensityRange().
    /// @throws std::invalid_argument  for limits that are none, see IntensityRange
    void setShownIntensityRange(const std::optional<IntensityRange>& range);

    /// See setShownIntensityRange().
    std::optional<IntensityRange> shownIntensityRange() const noexcept;

    /// Opens a second data set over the same octree that carries only some attributes; its values are used
    /// where the main data set has none.
    /// @throws std::runtime_error  when it cannot be opened, or its cube is not that of this octree
    void addExternalAttributeLocation(const Location& location);

    /// What caches of this octree's node data are found by: it changes with the unit scale, the external data
    /// sets and the shown intensities.
    CacheIdentifier cacheIdentifier() const;

private:
    struct Implementation;
    std::unique_ptr<Implementation> mImplementation;
};
}  // namespace Octree
