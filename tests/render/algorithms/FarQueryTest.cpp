// Point queries on data sets that lie far away.

#include "core/LocalFolder.h"
#include "octree/Octree.h"
#include "render/pointcloud/PointCloudQuery.h"
#include "samples/EptWriter.h"
#include "tests/support/FarFolder.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace Render
{
namespace
{
using testing::IsEmpty;
using testing::SizeIs;

class Everything final : public IFilter
{
public:
    bool testPosition(const Math::Point<float, 3>&) override { return true; }

    Octree::BoxTestResult testBox(const Math::NBoundingBox<float, 3>&) override
    {
        return Octree::BoxTestResult::Inside;
    }
};

/// Nine nodes of one point and a leaf below each; each of the nine is described by a file of its own.
class FarQuery : public testing::Test
{
protected:
    FarQuery()
    {
        const std::vector<Samples::SamplePoint> point{{.x = 1, .y = 1, .z = 1}};
        std::vector<Samples::SampleNode> nodes{{.name = "r", .points = point}};
        for (const char* const child : {"r0", "r1", "r2", "r3", "r4", "r5", "r6", "r7"})
        {
            nodes.push_back({.name = child, .points = point});
            nodes.push_back({.name = std::string(child) + "4", .points = point});
        }
        Samples::EptWriterOptions options;
        options.cube = Samples::Cube{{0, 0, 0}, 8};
        options.hierarchyStep = 1;
        options.threadCount = 1;
        Samples::writeEptNodes(folder.path(), nodes, options);
        files = std::make_shared<const FarFolder>(std::make_shared<const Core::LocalFolder>(folder.path()));
        octree = std::make_shared<Octree::Octree>(Octree::Location(Octree::Kind::Entwine, files), 1.0);
        files->log->take();
    }

    PointCloudQuery query() const
    {
        return {
            octree,
            std::make_shared<PointCloudQuery::PointCache>(1000, 16),
            Eigen::Matrix4f::Identity(),
            new Everything,
            21,
            0.0F,
            std::chrono::nanoseconds::max()};
    }

    static std::vector<std::string> beginningWith(const std::string& begin, std::vector<std::string> lines)
    {
        std::erase_if(lines, [&](const std::string& line) { return !line.starts_with(begin); });
        return lines;
    }

    TemporaryFolder folder;
    std::shared_ptr<const FarFolder> files;
    std::shared_ptr<Octree::Octree> octree;
};
}  // namespace

TEST_F(FarQuery, PartsOfTheHierarchyAreOnTheirWayTogether)
{
    std::vector<VertexPosColor> points(100);
    PointCloudQuery all = query();

    EXPECT_EQ(all.getNextPointChunk(points.data(), points.size()), 17U);

    std::vector<std::string> lines = files->log->take();
    const auto firstRead = std::ranges::find_if(
        lines, [](const std::string& line) { return line.starts_with("open ept-hierarchy/1-"); }
    );
    EXPECT_THAT(beginningWith("expect ept-hierarchy/1-", {lines.begin(), firstRead}), SizeIs(8));
    EXPECT_THAT(beginningWith("open ept-hierarchy/1-", lines), SizeIs(8));
    EXPECT_THAT(beginningWith("forget", lines), IsEmpty());
}

TEST_F(FarQuery, WhatItHasNotLookedUpIsForgottenAtItsEnd)
{
    {
        std::vector<VertexPosColor> points(100);
        PointCloudQuery all = query();
        EXPECT_EQ(all.getNextPointChunk(points.data(), 3), 3U);  // of the root and two of its children
        files->log->take();
    }

    EXPECT_THAT(files->log->take("forget ept-hierarchy/1-"), SizeIs(6));
}
}  // namespace Render
