#include "render/pointcloud/PointCloudQuery.h"

#include "math/transform.h"
#include "octree/Octree.h"
#include "render/pointcloud/ExpectedNodes.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <stdexcept>
#include <stop_token>
#include <type_traits>
#include <utility>

namespace Render
{
namespace
{
using Octree::BoxTestResult;

constexpr std::int64_t kNoDeadline = std::numeric_limits<std::int64_t>::max();

constexpr std::size_t kExpectedNodes = 32;  // of the queue, where what is known of them lies far away

constexpr std::uint64_t kBytesPerPoint = 48;  // of decoded points with all attributes, in round numbers

// How far outside its node's cube a point may lie, in steps of the data set: one by the writer's rounding,
// one to be sure.
constexpr double kStepsOutside = 2.0;

// Bound on the rounding of a transformed coordinate against the sum of its terms' magnitudes: narrowing,
// three products and three sums, once for the point and once for the box.
constexpr float kRounding = 6.0F * std::numeric_limits<float>::epsilon();

std::int64_t steadyNow()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch()
    )
        .count();
}

std::int64_t deadlineAfter(std::chrono::nanoseconds timeout)
{
    const std::int64_t now = steadyNow();
    return timeout.count() > kNoDeadline - now ? kNoDeadline : now + timeout.count();
}

/// The world matrix taken apart, so that a loop over points keeps it in registers.
class PointTransform
{
public:
    explicit PointTransform(const Eigen::Matrix4f& m) noexcept
        : mX{m(0, 0), m(0, 1), m(0, 2), m(0, 3)},
          mY{m(1, 0), m(1, 1), m(1, 2), m(1, 3)},
          mZ{m(2, 0), m(2, 1), m(2, 2), m(2, 3)}
    {
    }

    Math::Point<float, 3> operator()(const Math::Point<double, 3>& position) const noexcept
    {
        const auto x = static_cast<float>(position.x);
        const auto y = static_cast<float>(position.y);
        const auto z = static_cast<float>(position.z);
        return {apply(mX, x, y, z), apply(mY, x, y, z), apply(mZ, x, y, z)};
    }

private:
    struct Row
    {
        float x, y, z, w;
    };

    static float apply(const Row& row, float x, float y, float z) noexcept
    {
        return row.x * x + row.y * y + row.z * z + row.w;
    }

    Row mX, mY, mZ;
};

template <class T>
std::shared_ptr<T> required(std::shared_ptr<T> object, const char* message)
{
    if (!object)
    {
        throw std::invalid_argument(message);
    }
    return object;
}
}  // namespace

Core::SharedResources<Octree::CacheIdentifier, PointCloudQuery::PointCache> PointCloudQuery::mSharedCaches;

PointCloudQuery::PointCloudQuery(
    std::shared_ptr<Octree::Octree> octree,
    std::shared_ptr<PointCache> cache,
    const Eigen::Matrix4f& worldMatrix,
    IFilter* filter,
    std::uint64_t maxLevel,
    float minimumSpacing,
    std::chrono::nanoseconds timeout
)
    : mCurrentPoints(Octree::kAllAttributes), mFilter(filter, maxLevel, minimumSpacing)
{
    if (filter == nullptr)
    {
        throw std::invalid_argument("PointCloudQuery: filter must not be empty");
    }
    mOctree = required(std::move(octree), "PointCloudQuery: octree must not be empty");
    mCache = required(std::move(cache), "PointCloudQuery: cache must not be empty");
    mCached = mOctree->cacheIdentifier();
    setWorldMatrix(worldMatrix);
    enqueueIfWanted(mOctree->root(), BoxTestResult::Border);
    mDeadline = deadlineAfter(timeout);
}

PointCloudQuery::PointCloudQuery(PointCloudQuery&&) noexcept = default;
PointCloudQuery& PointCloudQuery::operator=(PointCloudQuery&&) noexcept = default;
PointCloudQuery::~PointCloudQuery() = default;

std::shared_ptr<PointCloudQuery::PointCache> PointCloudQuery::createOrGetSharedCache(
    const Octree::Location& location,
    double unitScale,
    std::uint64_t capacity,
    std::uint64_t expectedEntryCount
)
{
    return createOrGetSharedCache(Octree::CacheIdentifier{location, unitScale}, capacity, expectedEntryCount);
}

std::shared_ptr<PointCloudQuery::PointCache> PointCloudQuery::createOrGetSharedCache(
    const Octree::CacheIdentifier& identifier, std::uint64_t capacity, std::uint64_t expectedEntryCount
)
{
    return mSharedCaches.createOrGet(
        identifier,
        [=] { return std::make_shared<PointCache>(capacity, static_cast<std::size_t>(expectedEntryCount)); }
    );
}

void PointCloudQuery::setWorldMatrix(const Eigen::Matrix4f& worldMatrix) noexcept
{
    mWorldMatrix = worldMatrix;
    mWorldMatrix3 = worldMatrix.topLeftCorner<3, 3>();
    mWorldScale = mWorldMatrix3.col(0).norm();
}

std::size_t PointCloudQuery::getNextPointChunk(VertexPosColor* points, std::size_t maxCount)
{
    const auto copy = [&](std::size_t done)
    {
        return mCurrentNode.boxTestResult == BoxTestResult::Inside && !mAttributeFilter
                   ? copyPoints(points + done, maxCount - done)
                   : copyAcceptedPoints(points + done, maxCount - done);
    };
    return nextPoints(maxCount, copy);
}

std::size_t PointCloudQuery::getNextPoints(Octree::NodePointColumns& points, std::size_t maxCount)
{
    points.clear();
    const auto append = [&](std::size_t done) { return appendPoints(points, maxCount - done); };
    return nextPoints(maxCount, append);
}

void PointCloudQuery::setAttributeFilter(std::unique_ptr<IAttributeFilter> filter) noexcept
{
    mAttributeFilter = std::move(filter);
}

void PointCloudQuery::setRecordAttributes(unsigned attributes)
{
    const unsigned wanted = attributes & Octree::kRecordAttributes;
    if (wanted != mRecordAttributes)
    {
        mRecordAttributes = wanted;
        mAhead.reset();  // what it has read lacks them
        mRequestedCount = 0;
    }
}

/// Visits nodes until there are enough points or the time is over.
/// @param copy  copies points of the current node behind those that there are, and tells how many
template <class Copy>
std::size_t PointCloudQuery::nextPoints(std::size_t maxCount, const Copy& copy)
{
    std::size_t count = 0;
    while (mHasCurrentNode || advance())
    {
        if (mCurrentNode.boxTestResult == BoxTestResult::Inside ||
            mCurrentNode.boxTestResult == BoxTestResult::Border)
        {
            count += copy(count);
        }
        else
        {
            mNextPoint = mCurrentPoints.size();
        }
        mHasCurrentNode = mNextPoint < mCurrentPoints.size();
        if (count == maxCount || steadyNow() > mDeadline)
        {
            break;
        }
    }
    return count;
}

void PointCloudQuery::enqueueIfWanted(const Octree::OctreeNodeId& id, BoxTestResult parentResult)
{
    const std::uint64_t level = mOctree->level(id);
    const float spacing = mOctree->spacing(level) * mWorldScale;
    const BoxTestResult result =
        parentResult == BoxTestResult::Inside ? parentResult : mFilter.testBox(worldBoxOfPoints(id));
    if (result != BoxTestResult::Outside && mFilter.testSpacing(spacing) && mFilter.testLevel(level))
    {
        mQueue.push_back({id, result, level, spacing});
    }
}

Math::NBoundingBox<float, 3> PointCloudQuery::worldBoxOfPoints(const Octree::OctreeNodeId& id) const
{
    const Math::NBoundingBox<float, 3> cube = mOctree->boundingCube(id);
    const Math::Point<double, 3> step = mOctree->positionStep();
    Math::Point<float, 3> min = cube.min();
    Math::Point<float, 3> max = cube.max();
    Eigen::Vector3f magnitude;
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        const auto margin = static_cast<float>(kStepsOutside * step[axis]);
        min[axis] -= margin;
        max[axis] += margin;
        magnitude[static_cast<Eigen::Index>(axis)] = std::max(std::abs(min[axis]), std::abs(max[axis]));
    }

    const Math::NBoundingBox<float, 3> box = Math::transformed({min, max}, mWorldMatrix);
    const Eigen::Vector3f rounding =
        kRounding * (mWorldMatrix3.cwiseAbs() * magnitude + mWorldMatrix.topRightCorner<3, 1>().cwiseAbs());
    return {
        {box.min().x - rounding.x(), box.min().y - rounding.y(), box.min().z - rounding.z()},
        {box.max().x + rounding.x(), box.max().y + rounding.y(), box.max().z + rounding.z()}};
}

bool PointCloudQuery::advance()
{
    if (mQueue.empty())
    {
        return false;
    }
    mCurrentNode = mQueue.front();
    mQueue.pop_front();
    mRequestedCount = std::max<std::size_t>(mRequestedCount, 1) - 1;
    mNextPoint = 0;
    if (mCurrentNode.boxTestResult == BoxTestResult::Inside ||
        mCurrentNode.boxTestResult == BoxTestResult::Border)
    {
        for (const Octree::OctreeNodeId& child : mOctree->children(mCurrentNode.id))
        {
            enqueueIfWanted(child, mCurrentNode.boxTestResult);
        }
    }
    if (mExpected)
    {
        mExpected->take(mCurrentNode.id);
    }
    readAhead();
    fetchCurrentNode();
    mHasCurrentNode = true;
    return true;
}

/// Lets the worker threads read what comes next, unless the deadline has passed: then each call may be the
/// last.
void PointCloudQuery::readAhead()
{
    if (mRequestedCount >= mQueue.size() || steadyNow() > mDeadline)
    {
        return;
    }
    if (!mAhead)
    {
        mAhead = std::make_unique<Ahead>(
            Core::WorkerPool::shared(),
            [octree = mOctree, wanted = wantedAttributes()](
                const Octree::OctreeNodeId& id, PointsAhead& ahead, std::stop_token stopToken
            )
            {
                ahead.points = Octree::NodePointData(wanted);
                ahead.identifier = octree->cacheIdentifier();
                return octree->readNodePointData(id, ahead.points, std::move(stopToken));
            },
            [cache = mRecordAttributes == 0 ? mCache : nullptr](const Octree::OctreeNodeId& id)
            { return cache && cache->contains(id); },
            Ahead::Notice{
                [octree = mOctree](const Octree::OctreeNodeId& id) { octree->expectNodePoints(id); },
                [octree = mOctree](const Octree::OctreeNodeId& id) { octree->forgetNodePoints(id); },
            }
        );
        mExpected = std::make_unique<ExpectedNodes>(
            [octree = mOctree](const Octree::OctreeNodeId& id) { return octree->expectNode(id); },
            [octree = mOctree](const Octree::OctreeNodeId& id) { octree->forgetNode(id); }
        );
    }
    try
    {
        while (mRequestedCount < mQueue.size() && requestNext())
        {
            ++mRequestedCount;
        }
    }
    catch (const std::exception&)
    {
        // The node that cannot be looked up is reported when its turn comes.
    }
}

/// @return false when it has to wait
bool PointCloudQuery::requestNext()
{
    const Octree::OctreeNodeId& id = mQueue[mRequestedCount].id;
    if (mExpected->expect(id))
    {
        const std::uint64_t bytes = mOctree->nodeInfo(id).pointCount * kBytesPerPoint;
        return mAhead->request(id, static_cast<std::size_t>(bytes));
    }
    const std::size_t end = std::min(mQueue.size(), mRequestedCount + kExpectedNodes);
    for (std::size_t i = mRequestedCount + 1; i < end; ++i)
    {
        mExpected->expect(mQueue[i].id);
    }
    return false;
}

bool PointCloudQuery::readCurrentNode(Octree::NodePointData& points, std::stop_token stopToken)
{
    if (mAhead)
    {
        PointsAhead ahead;
        const bool isRead = mAhead->get(mCurrentNode.id, ahead, stopToken);
        if (ahead.identifier == mOctree->cacheIdentifier())  // otherwise the octree has changed since
        {
            points = std::move(ahead.points);
            return isRead;
        }
    }
    return mOctree->readNodePointData(mCurrentNode.id, points, std::move(stopToken));
}

void PointCloudQuery::fetchCurrentNode()
{
    constexpr const char* kFailure = "Querying node data failed";
    bool isFetched = false;
    const auto load = [&](Octree::NodePointData& loaded, std::stop_token stopToken)
    {
        const bool isRead = readCurrentNode(loaded, std::move(stopToken));
        if (mOctree->unitScale() != mCached->unitScale)
        {
            // the cache belongs to the old scale, also for others
            throw std::runtime_error("the unit scale of the octree was changed during the query");
        }
        return isRead;
    };
    // The cache belongs to octrees without an external data set that is new, too.
    const auto isOurs = [&] { return mOctree->cacheIdentifier() == mCached; };
    try
    {
        if (mRecordAttributes == 0)
        {
            isFetched = mCache->getOrLoad(mCurrentNode.id, mCurrentPoints, load, isOurs, {});
        }
        else
        {
            mCurrentPoints = Octree::NodePointData(wantedAttributes());
            isFetched = load(mCurrentPoints, {});
        }
    }
    catch (const std::exception&)
    {
        std::throw_with_nested(std::runtime_error(kFailure));
    }
    if (!isFetched)
    {
        throw std::runtime_error(kFailure);
    }
    if (mAhead)
    {
        mAhead->drop(mCurrentNode.id);  // another query has put it into the cache meanwhile
    }
}

std::size_t PointCloudQuery::copyPoints(VertexPosColor* points, std::size_t maxCount)
{
    const PointTransform toWorld(mWorldMatrix);
    const std::size_t count = std::min(maxCount, mCurrentPoints.size() - mNextPoint);
    const Math::Point<double, 3>* const positions = mCurrentPoints.columns().positions.data() + mNextPoint;
    const Math::Color* const colors = mCurrentPoints.columns().colors.data() + mNextPoint;
    for (std::size_t i = 0; i < count; ++i)
    {
        points[i].position = toWorld(positions[i]);
        points[i].color = colors[i];
    }
    mNextPoint += count;
    return count;
}

/// Whether the attribute filter accepts a point of the current node.
bool PointCloudQuery::isAccepted(std::size_t i) const
{
    if (!mAttributeFilter)
    {
        return true;
    }
    const Octree::NodePointColumns& columns = mCurrentPoints.columns();
    const auto valueOf = [i](const auto& column)
    {
        using Value = typename std::decay_t<decltype(column)>::value_type;
        return column.empty() ? Value{} : column[i];
    };
    PointAttributes point;
    point.color = columns.colors[i];
    point.intensity = valueOf(columns.intensities);
    point.classification = valueOf(columns.classifications);
    point.scanIndex = valueOf(columns.scanIndices);
    point.returnNumber = valueOf(columns.returnNumbers);
    point.returnCount = valueOf(columns.returnCounts);
    point.gpsTime = valueOf(columns.gpsTimes);
    return mAttributeFilter->testAttributes(point);
}

std::size_t PointCloudQuery::copyAcceptedPoints(VertexPosColor* points, std::size_t maxCount)
{
    const PointTransform toWorld(mWorldMatrix);
    const bool isInside = mCurrentNode.boxTestResult == BoxTestResult::Inside;
    const std::size_t size = mCurrentPoints.size();
    const Math::Point<double, 3>* const positions = mCurrentPoints.columns().positions.data();
    const Math::Color* const colors = mCurrentPoints.columns().colors.data();
    std::size_t count = 0;
    std::size_t i = mNextPoint;
    for (; i < size && count < maxCount; ++i)
    {
        const Math::Point<float, 3> position = toWorld(positions[i]);
        if ((isInside || mFilter.testPosition(position)) && isAccepted(i))
        {
            points[count++] = {position, colors[i]};
        }
    }
    mNextPoint = i;
    return count;
}

std::size_t PointCloudQuery::appendPoints(Octree::NodePointColumns& points, std::size_t maxCount)
{
    const PointTransform toWorld(mWorldMatrix);
    const Octree::NodePointColumns& from = mCurrentPoints.columns();
    const bool isInside = mCurrentNode.boxTestResult == BoxTestResult::Inside;
    mAccepted.clear();
    std::size_t i = mNextPoint;
    for (; i < from.pointCount && mAccepted.size() < maxCount; ++i)
    {
        if ((isInside || mFilter.testPosition(toWorld(from.positions[i]))) && isAccepted(i))
        {
            mAccepted.push_back(i);
        }
    }
    mNextPoint = i;

    // A node may lack an attribute that others have: its points have 0 there.
    const std::size_t before = points.pointCount;
    const std::size_t after = before + mAccepted.size();
    const auto append = [&](const auto& source, auto& target)
    {
        if (source.empty() && target.empty())
        {
            return;
        }
        target.resize(after);
        for (std::size_t k = 0; k < mAccepted.size() && !source.empty(); ++k)
        {
            target[before + k] = source[mAccepted[k]];
        }
    };
    append(from.positions, points.positions);
    append(from.colors, points.colors);
    append(from.intensities, points.intensities);
    append(from.classifications, points.classifications);
    append(from.scanIndices, points.scanIndices);
    append(from.visibilities, points.visibilities);
    append(from.normals, points.normals);
    append(from.returnNumbers, points.returnNumbers);
    append(from.returnCounts, points.returnCounts);
    append(from.gpsTimes, points.gpsTimes);
    append(from.pointSources, points.pointSources);
    append(from.userData, points.userData);
    append(from.scanAngles, points.scanAngles);
    points.pointCount = after;
    return mAccepted.size();
}
}  // namespace Render
