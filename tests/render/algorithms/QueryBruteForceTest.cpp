// Queries of real data sets against a scan that tests every point.
#include "math/transform.h"
#include "octree/Octree.h"
#include "render/pointcloud/PointCloudQuery.h"
#include "render/pointcloud/convertToVertices.h"
#include "render/pointcloud/filters/BoxFilter.h"
#include "render/pointcloud/filters/IntersectionFilter.h"
#include "render/pointcloud/filters/OrientedBoxFilter.h"
#include "render/pointcloud/filters/PolytopeFilter.h"
#include "render/pointcloud/filters/PrismFilter.h"
#include "render/pointcloud/filters/SphereFilter.h"
#include "render/pointcloud/selectNodes.h"
#include "tests/render/algorithms/rankOf.h"
#include "tests/support/testData.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <exception>
#include <filesystem>
#include <memory>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace Render
{
namespace
{
using Octree::OctreeNodeId;
using Box = Math::NBoundingBox<float, 3>;
using Point = Math::Point<float, 3>;

constexpr std::uint64_t kAllLevels = OctreeNodeId::MAX_REPRESENTABLE_LEVEL;
constexpr std::chrono::nanoseconds kNoTimeout = std::chrono::nanoseconds::max();

std::shared_ptr<Octree::Octree> open(const std::string& name)
{
    return std::make_shared<Octree::Octree>(Octree::Location::fromPath(testData() / name), 1.0);
}

/// A decoded point in the world and what decides whether its level counts.
struct ScannedPoint
{
    VertexPosColor vertex;
    std::uint64_t level;
};

/// All points in the order of a breadth-first walk, multiplied by the world matrix with the columns added up
/// from left to right.
std::vector<ScannedPoint> scan(const Octree::Octree& octree, const Eigen::Matrix4f& world)
{
    std::vector<ScannedPoint> points;
    std::vector<OctreeNodeId> ids{octree.root()};
    Octree::NodePointData data;
    for (std::size_t n = 0; n < ids.size(); ++n)
    {
        const OctreeNodeId id = ids[n];
        octree.readNodePointData(id, data);
        for (std::size_t i = 0; i < data.size(); ++i)
        {
            const Math::Point<double, 3>& position = data.position(i);
            Point transformed;
            for (int row = 0; row < 3; ++row)
            {
                float sum = world(row, 0) * static_cast<float>(position.x);
                sum += world(row, 1) * static_cast<float>(position.y);
                sum += world(row, 2) * static_cast<float>(position.z);
                transformed[static_cast<std::size_t>(row)] = sum + world(row, 3);
            }
            points.push_back({{transformed, Math::Color(data.color(i))}, octree.level(id)});
        }
        for (const OctreeNodeId& child : octree.children(id))
        {
            ids.push_back(child);
        }
    }
    return points;
}

Point inside(const Box& box, float x, float y, float z)
{
    return {box.min().x + x * box.size(0), box.min().y + y * box.size(1), box.min().z + z * box.size(2)};
}

Math::HalfSpace<double, 3> halfSpaceThrough(const Point& point, double a, double b, double c)
{
    return {a, b, c, -(a * double{point.x} + b * double{point.y} + c * double{point.z})};
}

struct NamedFilter
{
    std::string name;
    std::unique_ptr<IFilter> filter;
};

/// Regions of every kind in the bounds of a cloud.
std::vector<NamedFilter> makeFilters(const Octree::Octree& octree, const Eigen::Matrix4f& world)
{
    const Box bounds = Math::transformed(octree.boundingBox(), world);
    const float size = bounds.largestSize();
    const Point middle = inside(bounds, 0.45F, 0.5F, 0.3F);
    std::vector<NamedFilter> filters;
    filters.push_back(
        {"everything", std::make_unique<BoxFilter>(Box({-1e9F, -1e9F, -1e9F}, {1e9F, 1e9F, 1e9F}))}
    );
    filters.push_back({"nothing", std::make_unique<BoxFilter>(Box({1, 1, 1}, {0, 0, 0}))});
    filters.push_back(
        {"box",
         std::make_unique<BoxFilter>(Box(inside(bounds, 0.2F, 0.1F, 0), inside(bounds, 0.6F, 0.7F, 0.5F)))}
    );

    // Flush with cubes of nodes, where points that lie a step outside their cube matter.
    for (const char* const name : {"r0", "r2", "r4", "r6", "r00", "r24", "r46", "r040"})
    {
        const Box cube = Math::transformed(octree.boundingCube(OctreeNodeId::fromName(name)), world);
        filters.push_back({std::string("cube ") + name, std::make_unique<BoxFilter>(cube)});
        const Math::ConvexPolytope<double, 3> beyond({halfSpaceThrough(cube.max(), 1, 0, 0)});
        filters.push_back({std::string("beyond ") + name, std::make_unique<PolytopeFilter>(beyond)});
    }

    Eigen::Matrix3d axes;
    axes << 2, -2, 1, 1, 2, 2, 2, 1, -2;
    axes /= 3.0;
    filters.push_back(
        {"oriented box",
         std::make_unique<OrientedBoxFilter>(middle, axes, Eigen::Vector3d(0.3, 0.2, 0.15) * double{size})}
    );
    filters.push_back({"sphere", std::make_unique<SphereFilter>(middle, 0.25 * double{size})});
    filters.push_back(
        {"polytope",
         std::make_unique<PolytopeFilter>(Math::ConvexPolytope<double, 3>(
             {halfSpaceThrough(inside(bounds, 0.3F, 0.3F, 0), 1, 0.5, 0.1),
              halfSpaceThrough(inside(bounds, 0.8F, 0.8F, 1), -1, -0.7, 0),
              halfSpaceThrough(inside(bounds, 0.5F, 0.5F, 0.6F), 0.1, 0.1, -1)}
         ))}
    );
    std::vector<Math::Point<float, 2>> polygon;
    for (const auto& [x, y] :
         {std::pair(0.1F, 0.1F), {0.9F, 0.2F}, {0.5F, 0.5F}, {0.8F, 0.9F}, {0.15F, 0.8F}})
    {
        const Point corner = inside(bounds, x, y, 0);
        polygon.push_back({corner.x, corner.y});
    }
    filters.push_back({"prism", std::make_unique<PrismFilter>(polygon, bounds.min().z, middle.z)});
    std::vector<std::unique_ptr<IFilter>> both;
    both.push_back(std::make_unique<SphereFilter>(middle, 0.4 * double{size}));
    both.push_back(std::make_unique<PrismFilter>(polygon, bounds.min().z, bounds.max().z));
    filters.push_back({"intersection", std::make_unique<IntersectionFilter>(std::move(both))});
    return filters;
}

std::vector<VertexPosColor> allPoints(PointCloudQuery& query)
{
    constexpr std::size_t kChunk = 1000;
    std::vector<VertexPosColor> points;
    while (!query.isFinished())
    {
        const std::size_t size = points.size();
        points.resize(size + kChunk);
        points.resize(size + query.getNextPointChunk(points.data() + size, kChunk));
    }
    return points;
}

/// A filter that somebody else owns.
class LentFilter final : public IFilter
{
public:
    explicit LentFilter(IFilter& filter) : mFilter(filter) {}

    bool testPosition(const Point& point) override { return mFilter.testPosition(point); }

    Octree::BoxTestResult testBox(const Box& box) override { return mFilter.testBox(box); }

private:
    IFilter& mFilter;
};

bool isEqual(const VertexPosColor& a, const VertexPosColor& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

void expectQueriesEqualScans(const std::shared_ptr<Octree::Octree>& octree, const Eigen::Matrix4f& world)
{
    const std::vector<ScannedPoint> points = scan(*octree, world);
    const auto cache = std::make_shared<PointCloudQuery::PointCache>(10'000'000, 1000);
    std::size_t found = 0;
    for (const NamedFilter& region : makeFilters(*octree, world))
    {
        for (const std::uint64_t maxLevel :
             {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{3}, kAllLevels})
        {
            std::vector<VertexPosColor> expected;
            for (const ScannedPoint& point : points)
            {
                if (point.level <= maxLevel && region.filter->testPosition(point.vertex.position))
                {
                    expected.push_back(point.vertex);
                }
            }

            PointCloudQuery query(
                octree, cache, world, new LentFilter(*region.filter), maxLevel, 0.0F, kNoTimeout
            );
            const std::vector<VertexPosColor> actual = allPoints(query);

            ASSERT_EQ(actual.size(), expected.size()) << region.name << ", level " << maxLevel;
            EXPECT_TRUE(std::equal(actual.begin(), actual.end(), expected.begin(), isEqual))
                << region.name << ", level " << maxLevel;
            found += actual.size();
        }
    }
    EXPECT_GT(found, points.size() * 3);  // the regions are not empty
}

class QueryOfDataSet : public testing::TestWithParam<const char*>
{
};
}  // namespace

TEST_P(QueryOfDataSet, YieldsWhatTestingEveryPointYields)
{
    expectQueriesEqualScans(open(GetParam()), Eigen::Matrix4f::Identity());
}

TEST_P(QueryOfDataSet, YieldsTheSameForACloudThatIsTurnedScaledAndMoved)
{
    Eigen::Matrix4f world;
    world << 1.2F, -1.6F, 0.1F, 5000,  //
        1.6F, 1.2F, -0.2F, -300,       //
        -0.1F, 0.3F, 1.9F, 77,         //
        0, 0, 0, 1;
    expectQueriesEqualScans(open(GetParam()), world);
}

INSTANTIATE_TEST_SUITE_P(
    DataSets,
    QueryOfDataSet,
    testing::Values(
        "autzen_brotli",
        "autzen_default",
        "lonestar_brotli",
        "test14_brotli",
        "ept_color12_laszip",
        "ept_ellipsoid_zstandard",
        "ept_lonestar_thin_binary",
        "copc_color12/color12.copc.laz"
    ),
    [](const auto& set)
    {
        const std::string name = set.param;
        return name.substr(0, name.find('/'));
    }
);

TEST(QueryThreads, QueriesAndASelectionPassUseOneDataSetAtOnce)
{
    const auto octree = open("autzen_brotli");
    const auto cache = PointCloudQuery::createOrGetSharedCache(octree->location(), 1.0, 30'000, 100);
    const Box bounds = octree->boundingBox();
    const auto countPoints = [&](std::size_t& count)
    {
        for (int round = 0; round < 3; ++round)  // the cache is too small for all, so nodes come and go
        {
            PointCloudQuery query(
                octree,
                PointCloudQuery::createOrGetSharedCache(octree->location(), 1.0, 30'000, 100),
                Eigen::Matrix4f::Identity(),
                new SphereFilter(inside(bounds, 0.5F, 0.5F, 0.5F), 300.0),
                kAllLevels,
                0.0F,
                kNoTimeout
            );
            count = allPoints(query).size();
        }
    };
    std::size_t resident = 0;
    const auto reload = [&]
    {
        NodePrioritizer prioritizer(50'000);
        Core::TripleBuffer<Buffer> buffers;
        const OctreeSelectionTree tree(*octree);
        const NodeRanking ranking = [](std::size_t, const Box&) { return rankOf(50.0F); };
        const VertexSource source =
            [&octree](const OctreeNodeId& id, VertexContainer& vertices, std::stop_token stopToken)
        { return convertToVertices(*octree, id, vertices, stopToken); };
        const SelectionPass pass{
            .prioritizer = prioritizer,
            .cloudId = 1,
            .tree = tree,
            .ranking = ranking,
            .vertexSource = source,
            .buffers = buffers,
            .maxLevel = kAllLevels,
            .updateInterval = [] { return Render::UpdateInterval(std::chrono::milliseconds(1)); },
            .requestRedraw = [] {},
            .onProgress = [&resident] { ++resident; },
        };
        selectNodes(pass, {});
    };

    std::size_t first = 0;
    std::size_t second = 0;
    std::thread firstQuery([&] { countPoints(first); });
    std::thread secondQuery([&] { countPoints(second); });
    std::thread loader(reload);
    firstQuery.join();
    secondQuery.join();
    loader.join();

    EXPECT_GT(first, 1000U);
    EXPECT_EQ(first, second);
    EXPECT_GT(resident, 0U);
}
}  // namespace Render
