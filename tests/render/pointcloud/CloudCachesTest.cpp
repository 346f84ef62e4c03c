#include "octree/Octree.h"
#include "render/pointcloud/CloudCaches.h"
#include "tests/support/testData.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <stop_token>

namespace
{
using Render::CloudCaches;

std::shared_ptr<Octree::Octree> openOctree()
{
    return std::make_shared<Octree::Octree>(Octree::Location::fromPath(testData() / "autzen_brotli"), 1.0);
}

void loadRoot(const CloudCaches& caches)
{
    Render::VertexContainer vertices;
    ASSERT_TRUE(caches.vertices().load({}, vertices, std::stop_token()));
    ASSERT_GT(vertices.size(), 0u);
}

bool hasRoot(const CloudCaches& caches)
{
    return caches.vertices().contains({});
}
}  // namespace

TEST(CloudCaches, CloudsOfOneDataSetShareTheirVertices)
{
    const CloudCaches reader(openOctree());
    const CloudCaches other(openOctree());
    ASSERT_FALSE(hasRoot(other));

    loadRoot(reader);

    EXPECT_TRUE(hasRoot(other));
    EXPECT_EQ(reader.pointsForQuery(), other.pointsForQuery());
}

TEST(CloudCaches, AfterAnotherUnitScaleOnlyTheOthersHaveTheOldVertices)
{
    const std::shared_ptr<Octree::Octree> octree = openOctree();
    CloudCaches caches(octree);
    const CloudCaches other(openOctree());
    loadRoot(caches);

    octree->setUnitScale(2.0);
    EXPECT_EQ(caches.unitScale(), 1.0);
    caches.renew();

    EXPECT_EQ(caches.unitScale(), 2.0);
    EXPECT_FALSE(hasRoot(caches));
    EXPECT_TRUE(hasRoot(other));
}

TEST(CloudCaches, ClearingEmptiesTheVerticesOfAll)
{
    CloudCaches caches(openOctree());
    const CloudCaches other(openOctree());
    loadRoot(caches);

    caches.clearVertices();

    EXPECT_FALSE(hasRoot(other));
}

TEST(CloudCaches, RenewingKeepsTheBoundOfBytesInFlight)
{
    const std::shared_ptr<Octree::Octree> octree = openOctree();
    CloudCaches caches(octree);
    caches.loader().setMaxBytesInFlight(12345);

    octree->setUnitScale(2.0);
    caches.renew();

    EXPECT_EQ(caches.loader().maxBytesInFlight(), 12345u);
}

TEST(CloudCaches, AQueryGetsThePointsOfTheOctreeAsItIsNow)
{
    const std::shared_ptr<Octree::Octree> octree = openOctree();
    const CloudCaches caches(octree);
    const auto before = caches.pointsForQuery();
    EXPECT_EQ(caches.pointsForQuery(), before);

    octree->setUnitScale(2.0);  // as another cloud does that shares it

    const CloudCaches ofTheNewScale(octree);
    EXPECT_NE(caches.pointsForQuery(), before);
    EXPECT_EQ(caches.pointsForQuery(), ofTheNewScale.pointsForQuery());
}

TEST(CloudCaches, NodesThatAreReadAreCountedOnceAlsoOverARenewal)
{
    const std::shared_ptr<Octree::Octree> octree = openOctree();
    CloudCaches caches(octree);
    loadRoot(caches);
    loadRoot(caches);  // from the cache
    EXPECT_EQ(caches.counts().read, 1u);

    octree->setUnitScale(2.0);
    caches.renew();
    loadRoot(caches);

    EXPECT_EQ(caches.counts().read, 2u);
    EXPECT_EQ(caches.counts().failed, 0u);
}

TEST(CloudCaches, CapacitiesCountForCachesMadeFromThenOn)
{
    const CloudCaches before(openOctree());
    CloudCaches::setCapacities({.vertices = 1'000, .queryPoints = 2'000});
    const std::shared_ptr<Octree::Octree> octree = openOctree();
    octree->setUnitScale(3.0);

    const CloudCaches after(octree);
    CloudCaches::setCapacities({});

    EXPECT_EQ(before.vertexCache().capacity(), 30'000'000u);
    EXPECT_EQ(after.vertexCache().capacity(), 1'000u);
    EXPECT_EQ(after.pointsForQuery()->capacity(), 2'000u);
    EXPECT_THROW(CloudCaches::setCapacities({.vertices = 0}), std::invalid_argument);
}
