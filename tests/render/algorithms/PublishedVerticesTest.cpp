#include "render/gpu/VertexContainer.h"
#include "render/pointcloud/PublishedVertices.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace Render
{
namespace
{
using Vertex = PublishedVertices::Vertex;

Vertex vertex(unsigned char classIndex)
{
    return {Math::Point<float, 3>(), Math::Color(), 0, classIndex, 0};
}

std::shared_ptr<const VertexBlock> block(std::initializer_list<unsigned char> classes)
{
    VertexContainer container;
    container.resize(classes.size());
    std::size_t i = 0;
    for (const unsigned char value : classes)
    {
        container.setClassIndex(i++, value);
    }
    return container.share();
}

template <class Vertices>
std::vector<int> classesOf(const Vertices& vertices)
{
    std::vector<int> classes;
    for (const Vertex& value : vertices)
    {
        classes.push_back(value.classIndex);
    }
    return classes;
}

PublishedVertices twoBlocks()
{
    PublishedVertices vertices;
    vertices.append(block({1, 2, 3}));
    vertices.append(block({4, 5}));
    return vertices;
}
}  // namespace

TEST(PublishedVertices, StartsEmpty)
{
    const PublishedVertices vertices;

    EXPECT_TRUE(vertices.empty());
    EXPECT_TRUE(vertices.pieces().empty());
    EXPECT_EQ(vertices.begin(), vertices.end());
}

TEST(PublishedVertices, BlocksReadAsOneArray)
{
    const PublishedVertices vertices = twoBlocks();

    EXPECT_EQ(vertices.size(), 5U);
    EXPECT_EQ(classesOf(vertices), (std::vector<int>{1, 2, 3, 4, 5}));
    EXPECT_EQ(vertices[3].classIndex, 4);
    EXPECT_EQ(vertices.data()[4].classIndex, 5);
}

TEST(PublishedVertices, ABlockIsFoundByTheIndexOfItsFirstVertex)
{
    const auto first = block({1, 2, 3});
    const auto second = block({4});
    PublishedVertices vertices;
    vertices.append(first);
    vertices.append(second);

    EXPECT_EQ(vertices.blockAt(0), first.get());
    EXPECT_EQ(vertices.blockAt(3), second.get());
    EXPECT_EQ(vertices.blockAt(1), nullptr);
    EXPECT_EQ(vertices.blockAt(4), nullptr);
}

TEST(PublishedVertices, CopiesAndTheOriginalReferToTheSameBlocks)
{
    const PublishedVertices vertices = twoBlocks();
    const PublishedVertices copy = vertices;

    EXPECT_EQ(copy.blockAt(0), vertices.blockAt(0));
    EXPECT_EQ(vertices.pieces()[0].block.use_count(), 2);
}

TEST(PublishedVertices, ReadingTheArrayKeepsTheBlocks)
{
    const PublishedVertices vertices = twoBlocks();

    EXPECT_EQ(vertices.array().size(), 5U);

    EXPECT_EQ(vertices.pieces().size(), 2U);
    ASSERT_EQ(vertices.spans().size(), 2U);
    EXPECT_EQ(vertices.spans()[1].data(), vertices.pieces()[1].block->data());
}

TEST(PublishedVertices, AnAssignedArrayIsOneSpanWithoutBlocks)
{
    PublishedVertices vertices = twoBlocks();

    vertices = std::vector<Vertex>{vertex(7), vertex(8)};

    EXPECT_EQ(classesOf(vertices), (std::vector<int>{7, 8}));
    EXPECT_TRUE(vertices.pieces().empty());
    EXPECT_EQ(vertices.blockAt(0), nullptr);
    ASSERT_EQ(vertices.spans().size(), 1U);
    EXPECT_EQ(classesOf(vertices.spans()[0]), (std::vector<int>{7, 8}));
}

TEST(PublishedVertices, AChangeOfTheArrayIsWhatCounts)
{
    PublishedVertices vertices = twoBlocks();

    vertices[1] = vertex(9);
    vertices.push_back(vertex(6));

    EXPECT_EQ(classesOf(std::as_const(vertices)), (std::vector<int>{1, 9, 3, 4, 5, 6}));
    EXPECT_EQ(vertices.size(), 6U);
    EXPECT_TRUE(vertices.pieces().empty());
}

TEST(PublishedVertices, CanBeFilledLikeAnArray)
{
    PublishedVertices vertices;
    vertices.resize(2);
    vertices[0] = vertex(1);
    vertices.at(1) = vertex(2);
    const std::vector<Vertex> more{vertex(3), vertex(4)};

    vertices.insert(vertices.end(), more.begin(), more.end());
    vertices.emplace_back(vertex(5));

    EXPECT_EQ(classesOf(std::as_const(vertices)), (std::vector<int>{1, 2, 3, 4, 5}));
}

TEST(PublishedVertices, ClearGivesTheBlocksUp)
{
    const auto first = block({1});
    PublishedVertices vertices;
    vertices.append(first);

    vertices.clear();

    EXPECT_EQ(vertices.size(), 0U);
    EXPECT_EQ(first.use_count(), 1);
    vertices.append(block({2}));
    EXPECT_EQ(classesOf(std::as_const(vertices)), (std::vector<int>{2}));
}

TEST(PublishedVertices, BlocksThatAreAppendedAfterAReadAreReadAsWell)
{
    PublishedVertices vertices = twoBlocks();
    EXPECT_EQ(std::as_const(vertices)[0].classIndex, 1);

    vertices.append(block({6}));

    EXPECT_EQ(classesOf(std::as_const(vertices)), (std::vector<int>{1, 2, 3, 4, 5, 6}));
}
}  // namespace Render
