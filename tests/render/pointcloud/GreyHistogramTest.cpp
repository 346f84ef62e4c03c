#include "render/pointcloud/greyHistogram.h"
#include "render/scene/RenderMode.h"

#include <gtest/gtest.h>

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace Render
{
namespace
{
using Octree::OctreeNodeId;

/// A tree whose nodes have one point each; what is asked for is written down.
class GreyHistogramOfNodes : public testing::Test, public SelectionTree
{
public:
    Math::NBoundingBox<float, 3> boundingCube(const OctreeNodeId&) const override { return {}; }

    Octree::OctreeChildNodeIdRange children(const OctreeNodeId& id, std::stop_token) const override
    {
        unsigned mask = 0;
        for (const auto& [name, grey] : greys)
        {
            const OctreeNodeId child = OctreeNodeId::fromName(name);
            if (!child.isRoot() && child.parent() == id)
            {
                mask |= 1U << child.childIndex();
            }
        }
        return {id, mask};
    }

    Octree::NodeVisibilityType nodeVisibility(const OctreeNodeId&, std::stop_token) const override
    {
        return Octree::NodeVisibilityType::PerPoint;
    }

protected:
    BrightnessHistogram histogram(RenderMode renderMode = RenderMode::Default)
    {
        const VertexSource source = [this](const OctreeNodeId& id, VertexContainer& vertices, std::stop_token)
        {
            read.push_back(id.name());
            if (id.name() == broken)
            {
                throw std::runtime_error("broken");
            }
            const unsigned char grey = greys.at(id.name());
            vertices.resize(1);
            vertices.setColor(0, grey, grey, grey, 255);
            vertices.setIntensity(0, static_cast<unsigned short>(intensity << 8U));
            return id.name() != absent;
        };
        return greyHistogram(*this, source, renderMode);
    }

    std::map<std::string, unsigned char> greys;
    unsigned intensity = 0;
    std::string broken;
    std::string absent;
    std::vector<std::string> read;
};

using Names = std::vector<std::string>;
}  // namespace

TEST_F(GreyHistogramOfNodes, WalksBreadthFirstAndNotBelowLevelFour)
{
    greys = {
        {"r", 1}, {"r0", 1}, {"r00", 1}, {"r000", 1}, {"r0000", 1}, {"r00000", 1}, {"r1", 1}, {"r10", 1}};

    histogram();

    EXPECT_EQ(read, (Names{"r", "r0", "r1", "r00", "r10", "r000", "r0000"}));
}

TEST_F(GreyHistogramOfNodes, CountsThePointsOfAllNodes)
{
    greys = {{"r", 10}, {"r0", 20}, {"r1", 30}, {"r2", 40}};

    BrightnessHistogram counted = histogram();

    EXPECT_EQ(counted.quantile(0.25f), 10u);
    EXPECT_EQ(counted.quantile(0.5f), 20u);
    EXPECT_EQ(counted.quantile(0.75f), 30u);
    EXPECT_EQ(counted.quantile(1.0f), 40u);
}

TEST_F(GreyHistogramOfNodes, CountsIntensitiesWhereTheseAreShown)
{
    greys = {{"r", 10}};
    intensity = 77;

    EXPECT_EQ(histogram(RenderMode::ColorizeByIntensity).quantile(1.0f), 77u);
    EXPECT_EQ(histogram(RenderMode::ColorizeByNormal).quantile(1.0f), 10u);
}

TEST_F(GreyHistogramOfNodes, TheGreyOfAColourIsItsMeanRoundedDown)
{
    const VertexSource source = [](const OctreeNodeId&, VertexContainer& vertices, std::stop_token)
    {
        vertices.resize(1);
        vertices.setColor(0, 255, 250, 0, 255);  // 505 / 3 is 168 and a third
        return true;
    };

    EXPECT_EQ(greyHistogram(*this, source, RenderMode::Default).quantile(1.0f), 168u);
}

TEST_F(GreyHistogramOfNodes, ABrokenNodeEndsTheWalkWithWhatWasRead)
{
    greys = {{"r", 10}, {"r0", 20}, {"r1", 30}};
    broken = "r0";

    BrightnessHistogram counted = histogram();

    EXPECT_EQ(read, (Names{"r", "r0"}));
    EXPECT_EQ(counted.quantile(1.0f), 10u);
}

TEST_F(GreyHistogramOfNodes, ANodeThatIsNotGivenEndsTheWalkAndIsNotCounted)
{
    greys = {{"r", 10}, {"r0", 20}, {"r1", 30}};
    absent = "r0";

    BrightnessHistogram counted = histogram();

    EXPECT_EQ(read, (Names{"r", "r0"}));
    EXPECT_EQ(counted.quantile(1.0f), 10u);
}
}  // namespace Render
