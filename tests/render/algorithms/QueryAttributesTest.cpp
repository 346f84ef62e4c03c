// Queries that see and hand out attributes, against a scan of all nodes.
#include "octree/Octree.h"
#include "render/pointcloud/PointCloudQuery.h"
#include "render/pointcloud/filters/AttributeFilter.h"
#include "render/pointcloud/filters/BoxFilter.h"
#include "tests/support/testData.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <vector>

namespace Render
{
namespace
{
using Octree::NodePointColumns;
using Box = Math::NBoundingBox<float, 3>;

constexpr unsigned kAll = Octree::kAllAttributes | Octree::kRecordAttributes;

std::shared_ptr<Octree::Octree> openCloud()
{
    return std::make_shared<Octree::Octree>(Octree::Location::fromPath(testData() / "autzen_default"), 1.0);
}

/// Of the cloud's frame; both borders and whole nodes lie in it.
Box region()
{
    return {{100.003F, 100.003F, -1000.0F}, {900.003F, 500.003F, 1000.0F}};
}

PointCloudQuery queryOf(const std::shared_ptr<Octree::Octree>& octree)
{
    return {
        octree,
        PointCloudQuery::createOrGetSharedCache(octree->cacheIdentifier(), 1'000'000, 100),
        Eigen::Matrix4f::Identity(),
        new BoxFilter(region()),
        Octree::OctreeNodeId::MAX_REPRESENTABLE_LEVEL,
        0.0F,
        std::chrono::nanoseconds::max()};
}

/// What a point has, in one comparable row.
std::vector<double> rowOf(const NodePointColumns& points, std::size_t i)
{
    return {
        points.positions[i].x,
        points.positions[i].y,
        points.positions[i].z,
        double(points.colors[i].packed()),
        double(points.intensities[i]),
        double(points.classifications[i]),
        double(points.returnNumbers[i]),
        double(points.returnCounts[i]),
        points.gpsTimes[i],
        double(points.pointSources[i]),
        double(points.userData[i]),
        double(points.scanAngles[i])};
}

/// The rows of all points of the region, coarse levels first.
std::vector<std::vector<double>> scan(const Octree::Octree& octree)
{
    std::vector<std::vector<double>> rows;
    std::vector<Octree::OctreeNodeId> ids{octree.root()};
    for (std::size_t n = 0; n < ids.size(); ++n)
    {
        const Octree::OctreeNodeId id = ids[n];
        Octree::NodePointData data(kAll);
        octree.readNodePointData(id, data);
        for (std::size_t i = 0; i < data.size(); ++i)
        {
            const Math::Point<double, 3>& p = data.position(i);
            if (region().contains({static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)}
                ))
            {
                rows.push_back(rowOf(data.columns(), i));
            }
        }
        for (const Octree::OctreeNodeId& child : octree.children(id))
        {
            ids.push_back(child);
        }
    }
    return rows;
}

std::vector<std::vector<double>> rowsOf(PointCloudQuery& query, std::size_t chunk)
{
    std::vector<std::vector<double>> rows;
    NodePointColumns points;
    while (query.getNextPoints(points, chunk) > 0)
    {
        EXPECT_LE(points.pointCount, chunk);
        for (std::size_t i = 0; i < points.pointCount; ++i)
        {
            rows.push_back(rowOf(points, i));
        }
    }
    return rows;
}

PointAttributes pointWith(std::uint8_t returnNumber, std::uint8_t returnCount)
{
    PointAttributes point;
    point.returnNumber = returnNumber;
    point.returnCount = returnCount;
    return point;
}
}  // namespace

TEST(QueryAttributes, PointsHaveAllArraysOfTheDataSetInDoublePrecision)
{
    const auto octree = openCloud();
    PointCloudQuery query = queryOf(octree);
    query.setRecordAttributes(Octree::kRecordAttributes);

    const std::vector<std::vector<double>> rows = rowsOf(query, 777);

    EXPECT_GT(rows.size(), 1000U);
    EXPECT_TRUE(rows == scan(*octree));
    EXPECT_TRUE(query.isFinished());
}

TEST(QueryAttributes, WithoutAskingThereAreNoRecordArrays)
{
    PointCloudQuery query = queryOf(openCloud());
    NodePointColumns points;

    ASSERT_EQ(query.getNextPoints(points, 10), 10U);

    EXPECT_EQ(points.intensities.size(), 10U);
    EXPECT_TRUE(points.returnNumbers.empty());
    EXPECT_TRUE(points.gpsTimes.empty());
}

TEST(QueryAttributes, BothOperationsGoOnWhereTheOtherStopped)
{
    const auto octree = openCloud();
    PointCloudQuery query = queryOf(octree);
    NodePointColumns points;
    std::vector<VertexPosColor> vertices(50);

    query.getNextPoints(points, 20);
    const Math::Point<double, 3> last = points.positions.back();
    query.getNextPointChunk(vertices.data(), 50);
    query.getNextPoints(points, 1);

    const std::vector<std::vector<double>> expected = scan(*octree);
    EXPECT_EQ(last.x, expected[19][0]);
    EXPECT_EQ(vertices.front().position.x, static_cast<float>(expected[20][0]));
    EXPECT_EQ(vertices.back().position.y, static_cast<float>(expected[69][1]));
    EXPECT_EQ(points.positions.front().x, expected[70][0]);
}

TEST(QueryAttributes, TheFilterSeesRecordedAttributesInBothOperations)
{
    const auto octree = openCloud();
    std::size_t expected = 0;
    for (const std::vector<double>& row : scan(*octree))
    {
        expected += row[5] == 2.0 && row[6] == 1.0 ? 1 : 0;
    }
    const auto filtered = [&]
    {
        PointCloudQuery query = queryOf(octree);
        query.setRecordAttributes(Octree::kReturnNumberAttribute | Octree::kReturnCountAttribute);
        auto filter = std::make_unique<AttributeFilter>();
        filter->setClassifications(std::bitset<256>(1U << 2U));
        ReturnChoice first;
        first.numbers.set(1);
        filter->setReturns(first);
        query.setAttributeFilter(std::move(filter));
        return query;
    };
    PointCloudQuery first = filtered();
    PointCloudQuery second = filtered();
    NodePointColumns points;
    std::vector<VertexPosColor> vertices(200'000);

    EXPECT_GT(expected, 1000U);
    EXPECT_EQ(first.getNextPoints(points, 200'000), expected);
    EXPECT_EQ(second.getNextPointChunk(vertices.data(), vertices.size()), expected);
}

TEST(AttributeFilter, AcceptsEverythingAtFirst)
{
    AttributeFilter filter;
    PointAttributes point;
    point.classification = 255;
    point.intensity = 65535;

    EXPECT_TRUE(filter.testAttributes({}));
    EXPECT_TRUE(filter.testAttributes(point));
}

TEST(AttributeFilter, IntensitiesIncludeBothLimits)
{
    AttributeFilter filter;
    filter.setIntensities(10, 20);
    const auto accepts = [&](std::uint16_t intensity)
    {
        PointAttributes point;
        point.intensity = intensity;
        return filter.testAttributes(point);
    };

    EXPECT_FALSE(accepts(9));
    EXPECT_TRUE(accepts(10));
    EXPECT_TRUE(accepts(20));
    EXPECT_FALSE(accepts(21));
}

TEST(AttributeFilter, ReturnsAreUnitedAndIntermediateOnesAreNeitherFirstNorLast)
{
    ReturnChoice choice;
    choice.intermediate = true;
    choice.single = true;
    AttributeFilter filter;
    filter.setReturns(choice);

    EXPECT_TRUE(filter.testAttributes(pointWith(2, 3)));
    EXPECT_TRUE(filter.testAttributes(pointWith(1, 1)));
    EXPECT_FALSE(filter.testAttributes(pointWith(1, 3)));
    EXPECT_FALSE(filter.testAttributes(pointWith(3, 3)));
}

TEST(AttributeFilter, EveryThirdIsCountedAmongThoseThatAreAcceptedOtherwise)
{
    AttributeFilter filter;
    filter.setIntensities(1, 65535);
    filter.setEvery(3);
    PointAttributes bright;
    bright.intensity = 1;
    std::vector<bool> accepted;
    for (int i = 0; i < 5; ++i)
    {
        accepted.push_back(filter.testAttributes(bright));
        EXPECT_FALSE(filter.testAttributes({}));
    }

    EXPECT_EQ(accepted, (std::vector<bool>{true, false, false, true, false}));
    EXPECT_THROW(filter.setEvery(0), std::invalid_argument);
}
}  // namespace Render
