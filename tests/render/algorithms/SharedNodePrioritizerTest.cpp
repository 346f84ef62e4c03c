#include "render/pointcloud/NodePrioritizer.h"
#include "render/pointcloud/sharedNodePrioritizer.h"

#include <gtest/gtest.h>

#include <memory>

namespace Render
{
TEST(SharedNodePrioritizer, CloudsOfOneGroupGetTheSame)
{
    const std::shared_ptr<NodePrioritizer> first = sharedNodePrioritizer(1001, 500);
    const std::shared_ptr<NodePrioritizer> second = sharedNodePrioritizer(1001, 100);

    EXPECT_EQ(first, second);
    EXPECT_EQ(second->totalMaxPointCount(), 500U);
}

TEST(SharedNodePrioritizer, GroupsDoNotShare)
{
    const std::shared_ptr<NodePrioritizer> first = sharedNodePrioritizer(1002, 500);
    const std::shared_ptr<NodePrioritizer> second = sharedNodePrioritizer(1003, 500);

    EXPECT_NE(first, second);
}

TEST(SharedNodePrioritizer, DiesWithItsLastUser)
{
    const std::weak_ptr<NodePrioritizer> first = sharedNodePrioritizer(1004, 500);
    EXPECT_TRUE(first.expired());

    EXPECT_EQ(sharedNodePrioritizer(1004, 70)->totalMaxPointCount(), 70U);
}
}  // namespace Render
