#include "octree/Octree.h"

#include "core/shownText.h"
#include "octree/PointBlock.h"
#include "octree/PointSink.h"
#include "octree/Tree.h"
#include "octree/fileError.h"
#include "octree/fillWithGrey.h"
#include "octree/nodeBox.h"
#include "octree/passColumns.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cmath>
#include <cstdint>
#include <exception>
#include <mutex>
#include <span>
#include <stdexcept>
#include <utility>

namespace Octree
{
namespace
{
using Trees = std::vector<std::shared_ptr<const Tree>>;

// Cubes of data sets over the same octree may differ in the last digits of their decimal numbers.
constexpr double kCubeTolerance = 1e-6;  // of the edge

constexpr IntensityRange kNoRange{0, 0};

/// As one number, which every compiler reads and writes without a lock.
constexpr std::uint64_t packed(const IntensityRange& range)
{
    return std::bit_cast<std::uint64_t>(range);
}

double checkedUnitScale(double unitScale)
{
    if (!(unitScale > 0.0) || !std::isfinite(unitScale))
    {
        throw std::invalid_argument("Error: the unit scale must be above 0 and finite");
    }
    return unitScale;
}

bool isSameCube(const Math::NBoundingBox<double, 3>& a, const Math::NBoundingBox<double, 3>& b)
{
    const double tolerance = kCubeTolerance * a.largestSize();
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        if (!(std::abs(a.min()[axis] - b.min()[axis]) <= tolerance &&
              std::abs(a.max()[axis] - b.max()[axis]) <= tolerance))
        {
            return false;
        }
    }
    return true;
}

Math::NBoundingBox<double, 3> relativeTo(
    const Math::NBoundingBox<double, 3>& box, const Math::Point<double, 3>& origin
)
{
    return {
        {box.min().x - origin.x, box.min().y - origin.y, box.min().z - origin.z},
        {box.max().x - origin.x, box.max().y - origin.y, box.max().z - origin.z}};
}

Math::Point<float, 3> scaledPoint(const Math::Point<double, 3>& point, double scale)
{
    return {
        static_cast<float>(point.x * scale),
        static_cast<float>(point.y * scale),
        static_cast<float>(point.z * scale)};
}

Math::NBoundingBox<float, 3> scaledBox(const Math::NBoundingBox<double, 3>& box, double scale)
{
    return {scaledPoint(box.min(), scale), scaledPoint(box.max(), scale)};
}

// Gives `out` the arrays of `from` that are named by the mask.
void moveArrays(NodePointColumns& from, unsigned attributes, NodePointColumns& out)
{
    const auto move = [attributes](unsigned attribute, auto& source, auto& target)
    {
        if ((attributes & attribute) != 0)
        {
            target.swap(source);
        }
    };
    move(kPositionAttribute, from.positions, out.positions);
    move(kColorAttribute, from.colors, out.colors);
    move(kIntensityAttribute, from.intensities, out.intensities);
    move(kClassificationAttribute, from.classifications, out.classifications);
    move(kScanIndexAttribute, from.scanIndices, out.scanIndices);
    move(kVisibilityAttribute, from.visibilities, out.visibilities);
    move(kNormalAttribute, from.normals, out.normals);
    move(kReturnNumberAttribute, from.returnNumbers, out.returnNumbers);
    move(kReturnCountAttribute, from.returnCounts, out.returnCounts);
    move(kGpsTimeAttribute, from.gpsTimes, out.gpsTimes);
    move(kPointSourceAttribute, from.pointSources, out.pointSources);
    move(kUserDataAttribute, from.userData, out.userData);
    move(kScanAngleAttribute, from.scanAngles, out.scanAngles);
}

/// The greys of points without colours.
void makeGreys(
    std::span<const std::uint16_t> intensities,
    const std::pair<std::uint16_t, std::uint16_t>& range,
    const std::optional<IntensityRange>& shownRange,
    std::span<Math::Color> out
)
{
    if (!shownRange)
    {
        fillWithGrey(intensities, range, out);
        return;
    }
    for (std::size_t i = 0; i < intensities.size(); ++i)
    {
        const std::uint8_t grey = shownRange->toByte(intensities[i]);
        out[i].set(grey, grey, grey, 255);
    }
}

/// Gives points without colours those to draw with on their way to another sink.
class ColoringSink final : public PointSink
{
public:
    /// @param wanted  AttributeMask bits; intensities that are not among them go no further
    ColoringSink(
        PointSink& next,
        unsigned wanted,
        std::pair<std::uint16_t, std::uint16_t> intensityRange,
        const std::optional<IntensityRange>& shownRange
    ) noexcept
        : mNext(next), mWanted(wanted), mIntensityRange(intensityRange), mShownRange(shownRange)
    {
    }

    void begin(std::size_t pointCount, std::size_t visibleCount) override
    {
        mNext.begin(pointCount, visibleCount);
    }

    void take(PointBlock& block) override
    {
        if (hasColor(mWanted) && !hasColor(block.attributes))
        {
            const std::span colors(block.colors.data(), block.pointCount);
            if (hasIntensity(block.attributes))
            {
                makeGreys({block.intensities.data(), block.pointCount}, mIntensityRange, mShownRange, colors);
            }
            else
            {
                std::ranges::fill(colors, Math::Color::white(255));
            }
            block.attributes |= kColorAttribute;
        }
        if (hasIntensity(block.attributes) && !hasIntensity(mWanted))
        {
            block.intensities.fill(0);
            block.attributes &= ~static_cast<unsigned>(kIntensityAttribute);
        }
        mNext.take(block);
    }

private:
    PointSink& mNext;
    unsigned mWanted;
    std::pair<std::uint16_t, std::uint16_t> mIntensityRange;
    std::optional<IntensityRange> mShownRange;
};

/// What has to be read to get the wanted attributes of points that have those present.
unsigned neededAttributes(unsigned wanted, unsigned present)
{
    const bool grey = hasColor(wanted) && !hasColor(present) && hasIntensity(present);
    return wanted | (grey ? unsigned{kIntensityAttribute} : 0U);
}
}  // namespace

struct Octree::Implementation
{
    Implementation(const Location& dataSet, double initialUnitScale)
        : unitScale(checkedUnitScale(initialUnitScale)),
          location(dataSet),
          tree(openTree(dataSet)),
          description(tree->description()),
          relativeBox(relativeTo(description.boundingBox, description.position)),
          relativeCube(relativeTo(description.boundingCube, description.position)),
          externals(std::make_shared<const Trees>())
    {
        if (!hasPosition(description.attributeMask))
        {
            throw fileError(location.fileName(), "the attribute \"position\" is missing");
        }
    }

    std::shared_ptr<const Trees> externalTrees() const
    {
        const std::scoped_lock lock(externalsMutex);
        return externals;
    }

    /// Calls `action` for each external data set that readExternalAttributes() may read.
    template <class Action>
    void forEachExternal(const Trees& trees, unsigned attributes, const Action& action) const
    {
        unsigned missing = attributes & ~description.attributeMask;
        for (const std::shared_ptr<const Tree>& external : trees)
        {
            if ((missing & external->description().attributeMask) != 0)
            {
                action(*external);
                missing &= ~external->description().attributeMask;
            }
        }
    }

    bool readExternalAttributes(
        const Trees& trees,
        const OctreeNodeId& id,
        unsigned attributes,
        double scale,
        NodePointColumns& out,
        std::stop_token stopToken
    ) const;

    /// What is known of a node, where not knowing it is a failure.
    template <class Fetch>
    auto fetched(const OctreeNodeId& id, const std::stop_token& stopToken, const Fetch& fetch) const
    {
        constexpr const char* kFailure = "Failed to fetch node by id";
        decltype(fetch()) known;
        try
        {
            known = fetch();
            if (!known && !stopToken.stop_requested())
            {
                throw fileError(location.name(), "there is no node " + id.name());
            }
        }
        catch (const std::exception&)
        {
            std::throw_with_nested(std::runtime_error(kFailure));
        }
        if (!known)
        {
            throw std::runtime_error(kFailure);
        }
        return *known;
    }

    std::atomic<double> unitScale;  // relaxed: readers need the old or the new value, nothing else
    std::atomic<std::uint64_t> shownRange{packed(kNoRange)};  // likewise
    const Location location;
    const std::shared_ptr<const Tree> tree;
    const TreeDescription& description;
    const Math::NBoundingBox<double, 3> relativeBox;  // to the position, not scaled
    const Math::NBoundingBox<double, 3> relativeCube;

    // Guards externals and their locations; the list of trees itself never changes, it is replaced.
    mutable std::mutex externalsMutex;
    std::shared_ptr<const Trees> externals;
    std::vector<Location> externalLocations;
};

// Fills, from the first external data set that has it, each attribute that `out` lacks.
bool Octree::Implementation::readExternalAttributes(
    const Trees& trees,
    const OctreeNodeId& id,
    unsigned attributes,
    double scale,
    NodePointColumns& out,
    std::stop_token stopToken
) const
{
    unsigned missing = attributes & ~(description.attributeMask | description.recordMask);
    for (const std::shared_ptr<const Tree>& external : trees)
    {
        const unsigned offered =
            missing & (external->description().attributeMask | external->description().recordMask);
        if (offered == 0 || out.pointCount == 0)
        {
            continue;
        }
        const bool exists = external->nodeById(id, stopToken).has_value();
        NodePointColumns columns;
        columns.pointCount = out.pointCount;
        if (stopToken.stop_requested() ||
            (exists && !external->getNodePointData(id, offered, scale, columns, stopToken)))
        {
            return false;
        }
        if (!exists || columns.pointCount == 0)
        {
            continue;
        }
        if (columns.pointCount != out.pointCount)
        {
            throw std::runtime_error(
                "Error: external data set \"" + Core::shownText(external->description().name) + "\": node " +
                id.name() + " has " + std::to_string(columns.pointCount) + " points, expected " +
                std::to_string(out.pointCount) + " as in the main data set"
            );
        }
        moveArrays(columns, offered, out);
        missing &= ~offered;
    }
    return true;
}

Octree::Octree(const Location& location, double unitScale)
    : mImplementation(std::make_unique<Implementation>(location, unitScale))
{
}

Octree::~Octree() = default;

const Location& Octree::location() const noexcept
{
    return mImplementation->location;
}

Kind Octree::kind() const noexcept
{
    return mImplementation->location.kind();
}

std::string Octree::name() const
{
    return mImplementation->description.name;
}

std::string Octree::encoding() const
{
    return mImplementation->description.encoding;
}

Math::Point<double, 3> Octree::position() const noexcept
{
    return mImplementation->description.position;
}

double Octree::unitScale() const noexcept
{
    return mImplementation->unitScale.load(std::memory_order_relaxed);
}

void Octree::setUnitScale(double unitScale)
{
    mImplementation->unitScale.store(checkedUnitScale(unitScale), std::memory_order_relaxed);
}

Math::NBoundingBox<float, 3> Octree::boundingBox() const
{
    return scaledBox(mImplementation->relativeBox, unitScale());
}

Math::NBoundingBox<float, 3> Octree::boundingCube() const
{
    return scaledBox(mImplementation->relativeCube, unitScale());
}

Math::NBoundingBox<float, 3> Octree::boundingCube(const OctreeNodeId& id) const
{
    return scaledBox(nodeBox(mImplementation->relativeCube, id), unitScale());
}

Math::NBoundingBox<double, 3> Octree::absoluteBoundingBox() const noexcept
{
    return mImplementation->description.boundingBox;
}

Math::NBoundingBox<double, 3> Octree::absoluteBoundingCube() const noexcept
{
    return mImplementation->description.boundingCube;
}

float Octree::spacing(std::uint64_t level) const noexcept
{
    const int halvings = static_cast<int>(std::min<std::uint64_t>(level, 1024));
    return static_cast<float>(std::ldexp(mImplementation->description.spacing * unitScale(), -halvings));
}

Math::Point<double, 3> Octree::positionStep() const noexcept
{
    const Math::Point<double, 3>& step = mImplementation->description.positionStep;
    const double scale = unitScale();
    return {step.x * scale, step.y * scale, step.z * scale};
}

OctreeNodeId Octree::root() const noexcept
{
    return {};
}

std::uint64_t Octree::level(const OctreeNodeId& id) const noexcept
{
    return id.level();
}

NodeInfo Octree::nodeInfo(const OctreeNodeId& id, std::stop_token stopToken) const
{
    return mImplementation->fetched(
        id, stopToken, [&] { return mImplementation->tree->nodeById(id, stopToken); }
    );
}

ChildSummary Octree::childSummary(const OctreeNodeId& id, std::stop_token stopToken) const
{
    return mImplementation->fetched(
        id, stopToken, [&] { return mImplementation->tree->childSummary(id, stopToken); }
    );
}

OctreeChildNodeIdRange Octree::children(const OctreeNodeId& id, std::stop_token stopToken) const
{
    return {id, nodeInfo(id, std::move(stopToken)).childMask};
}

bool Octree::isLeaf(const OctreeNodeId& id, std::stop_token stopToken) const
{
    return nodeInfo(id, std::move(stopToken)).childMask == 0;
}

NodeVisibilityType Octree::nodeVisibility(const OctreeNodeId& id, std::stop_token stopToken) const
{
    if (hasVisibility(mImplementation->description.attributeMask))
    {
        return nodeInfo(id, std::move(stopToken)).visibility;
    }
    const std::shared_ptr<const Trees> externals = mImplementation->externalTrees();
    for (const std::shared_ptr<const Tree>& external : *externals)
    {
        if (hasVisibility(external->description().attributeMask))
        {
            const std::optional<NodeInfo> externalInfo = external->nodeById(id, stopToken);
            return externalInfo ? externalInfo->visibility : NodeVisibilityType::PerPoint;
        }
    }
    return NodeVisibilityType::PerPoint;
}

bool Octree::getNodePointData(const OctreeNodeId& id, NodePointData& out, std::stop_token stopToken) const
{
    try
    {
        return readNodePointData(id, out, std::move(stopToken));
    }
    catch (const std::exception&)
    {
        return false;
    }
}

bool Octree::expectNode(const OctreeNodeId& id) const noexcept
{
    const auto isThere = [&id](const Tree& tree)
    {
        try
        {
            return tree.expectNode(id);
        }
        catch (const std::exception&)
        {
            return true;  // whoever looks the node up will meet the failure
        }
    };
    bool isEverywhere = isThere(*mImplementation->tree);
    const std::shared_ptr<const Trees> externals = mImplementation->externalTrees();
    for (const std::shared_ptr<const Tree>& external : *externals)
    {
        isEverywhere = isThere(*external) && isEverywhere;
    }
    return isEverywhere;
}

void Octree::forgetNode(const OctreeNodeId& id) const noexcept
{
    const auto forget = [&id](const Tree& tree)
    {
        try
        {
            tree.forgetNode(id);
        }
        catch (const std::exception&)
        {
            // then there was nothing to expect
        }
    };
    forget(*mImplementation->tree);
    const std::shared_ptr<const Trees> externals = mImplementation->externalTrees();
    for (const std::shared_ptr<const Tree>& external : *externals)
    {
        forget(*external);
    }
}

void Octree::expectNodePoints(const OctreeNodeId& id, unsigned attributes) const noexcept
{
    mImplementation->tree->expectPoints(id);
    mImplementation->forEachExternal(
        *mImplementation->externalTrees(),
        neededAttributes(attributes, attributeMask()),
        [&](const Tree& external) { external.expectPoints(id); }
    );
}

void Octree::forgetNodePoints(const OctreeNodeId& id, unsigned attributes) const noexcept
{
    mImplementation->tree->forgetPoints(id);
    mImplementation->forEachExternal(
        *mImplementation->externalTrees(),
        neededAttributes(attributes, attributeMask()),
        [&](const Tree& external) { external.forgetPoints(id); }
    );
}

bool Octree::readNodePointData(const OctreeNodeId& id, NodePointData& out, std::stop_token stopToken) const
{
    const unsigned wanted = out.attributeMask();
    const unsigned needed = neededAttributes(wanted, attributeMask());
    const double scale = unitScale();
    const std::shared_ptr<const Trees> externals = mImplementation->externalTrees();
    NodePointColumns& columns = out.columns();
    NodePointColumns apart;  // of several data sets: a stop between them leaves `out` as it is
    apart.pointCount = columns.pointCount;
    NodePointColumns& target = externals->empty() ? columns : apart;
    const auto forgetExternals = [&]  // some of which may not have been read
    {
        mImplementation->forEachExternal(
            *externals, needed, [&](const Tree& external) { external.forgetPoints(id); }
        );
    };
    try
    {
        if (!mImplementation->tree->getNodePointData(id, needed, scale, target, stopToken) ||
            !mImplementation->readExternalAttributes(*externals, id, needed, scale, target, stopToken))
        {
            forgetExternals();
            return false;
        }
    }
    catch (...)
    {
        forgetExternals();
        columns.clear();
        throw;
    }
    if (&target == &apart)
    {
        std::swap(columns, apart);
    }

    if (hasColor(wanted) && columns.colors.size() != columns.pointCount)
    {
        if (columns.intensities.size() == columns.pointCount)
        {
            columns.colors.resize(columns.pointCount);
            makeGreys(columns.intensities, intensityRange(), shownIntensityRange(), columns.colors);
        }
        else
        {
            columns.colors.assign(columns.pointCount, Math::Color::white(255));
        }
    }
    if (!hasIntensity(wanted))
    {
        columns.intensities.clear();
    }
    return true;
}

bool Octree::passNodePoints(
    const OctreeNodeId& id, unsigned attributes, PointSink& sink, std::stop_token stopToken
) const
{
    if (!mImplementation->externalTrees()->empty())
    {
        // Data sets may disagree on the number of points, so all are read before any point is handed over.
        NodePointData points(attributes & ~static_cast<unsigned>(kNormalAttribute));
        const bool isRead = readNodePointData(id, points, std::move(stopToken));
        if (isRead)
        {
            passColumns(points.columns(), sink);
        }
        return isRead;
    }
    const TreeDescription& description = mImplementation->description;
    const unsigned needed = neededAttributes(attributes, description.attributeMask);
    ColoringSink coloring(sink, attributes, description.intensityRange, shownIntensityRange());
    return mImplementation->tree->passNodePoints(id, needed, unitScale(), coloring, std::move(stopToken));
}

unsigned Octree::attributeMask() const noexcept
{
    unsigned mask = mImplementation->description.attributeMask;
    const std::shared_ptr<const Trees> externals = mImplementation->externalTrees();
    for (const std::shared_ptr<const Tree>& external : *externals)
    {
        mask |= external->description().attributeMask;
    }
    return mask;
}

unsigned Octree::recordMask() const noexcept
{
    unsigned mask = mImplementation->description.recordMask;
    const std::shared_ptr<const Trees> externals = mImplementation->externalTrees();
    for (const std::shared_ptr<const Tree>& external : *externals)
    {
        mask |= external->description().recordMask;
    }
    return mask;
}

std::string Octree::coordinateSystem() const
{
    return mImplementation->description.coordinateSystem;
}

Math::Point<double, 3> Octree::storedOrigin() const noexcept
{
    return mImplementation->description.storedOrigin;
}

std::vector<AttributeInfo> Octree::attributes() const
{
    return mImplementation->description.attributes;
}

std::pair<std::uint16_t, std::uint16_t> Octree::intensityRange() const noexcept
{
    if (!hasIntensity(mImplementation->description.attributeMask))
    {
        const std::shared_ptr<const Trees> externals = mImplementation->externalTrees();
        for (const std::shared_ptr<const Tree>& external : *externals)
        {
            if (hasIntensity(external->description().attributeMask))
            {
                return external->description().intensityRange;
            }
        }
    }
    return mImplementation->description.intensityRange;
}

void Octree::setShownIntensityRange(const std::optional<IntensityRange>& range)
{
    if (range && !isPossible(*range))
    {
        throw std::invalid_argument(
            "Error: an intensity range must lie in -1..65536, its darkest value below its brightest"
        );
    }
    mImplementation->shownRange.store(packed(range.value_or(kNoRange)), std::memory_order_relaxed);
}

std::optional<IntensityRange> Octree::shownIntensityRange() const noexcept
{
    const auto range =
        std::bit_cast<IntensityRange>(mImplementation->shownRange.load(std::memory_order_relaxed));
    return range == kNoRange ? std::nullopt : std::optional(range);
}

void Octree::addExternalAttributeLocation(const Location& location)
{
    std::shared_ptr<const Tree> external = openTree(location);
    if (!isSameCube(absoluteBoundingCube(), external->description().boundingCube))
    {
        throw fileError(location.fileName(), "the cube is not the main data set's, expected the same octree");
    }
    const std::scoped_lock lock(mImplementation->externalsMutex);
    auto extended = std::make_shared<Trees>(*mImplementation->externals);
    extended->push_back(std::move(external));
    mImplementation->externalLocations.push_back(location);
    mImplementation->externals = std::move(extended);
}

CacheIdentifier Octree::cacheIdentifier() const
{
    const std::scoped_lock lock(mImplementation->externalsMutex);
    return {
        mImplementation->location, unitScale(), mImplementation->externalLocations, shownIntensityRange()};
}
}  // namespace Octree
