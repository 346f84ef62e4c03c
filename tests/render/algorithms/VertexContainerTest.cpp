#include "render/gpu/VertexContainer.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

namespace Render
{
namespace
{
VertexContainer withClasses(std::size_t n)
{
    VertexContainer container;
    container.resize(n);
    for (std::size_t i = 0; i < n; ++i)
    {
        container.setClassIndex(i, static_cast<unsigned char>(i));
    }
    return container;
}

std::vector<int> classesOf(const VertexContainer& container)
{
    std::vector<int> classes;
    for (std::size_t i = 0; i < container.size(); ++i)
    {
        classes.push_back(container.data()[i].classIndex);
    }
    return classes;
}

VertexContainer::Vertex vertexWithClass(unsigned char classIndex)
{
    return {Math::Point<float, 3>(), Math::Color(), 0, classIndex, 0};
}
}  // namespace

TEST(VertexContainer, StartsEmpty)
{
    EXPECT_EQ(VertexContainer().size(), 0U);
}

TEST(VertexContainer, TakesOverAListOfVisibleVertices)
{
    VertexContainer container{vertexWithClass(4), vertexWithClass(5)};

    container.complete();

    EXPECT_EQ(classesOf(container), (std::vector<int>{4, 5}));
}

TEST(VertexContainer, ResizeAddsBlackVerticesWithoutAttributes)
{
    VertexContainer container{vertexWithClass(4)};

    container.resize(2);

    EXPECT_EQ(classesOf(container), (std::vector<int>{4, 0}));
    EXPECT_EQ(container.data()[1].color, Math::Color());
}

TEST(VertexContainer, PositionIsRoundedToTheNearestFloat)
{
    VertexContainer container;
    container.resize(1);

    container.setPosition(0, 0.1, 16777217.0, -1.0e-50);

    EXPECT_EQ(container.data()[0].position, (Math::Point<float, 3>(0.1F, 16777216.0F, -0.0F)));
}

TEST(VertexContainer, ColorIsStoredByChannel)
{
    VertexContainer container;
    container.resize(1);

    container.setColor(0, 1, 2, 3, 4);

    EXPECT_EQ(container.data()[0].color, Math::Color(1, 2, 3, 4));
}

TEST(VertexContainer, IntensityKeepsItsHighByte)
{
    VertexContainer container;
    container.resize(3);

    container.setIntensity(0, 0x01FF);
    container.setIntensity(1, 0x00FF);
    container.setIntensity(2, 0xFFFF);

    EXPECT_EQ(container.data()[0].intensity, 1);
    EXPECT_EQ(container.data()[1].intensity, 0);
    EXPECT_EQ(container.data()[2].intensity, 255);
}

TEST(VertexContainer, ClassAndScanAreStoredUnchanged)
{
    VertexContainer container;
    container.resize(1);

    container.setClassIndex(0, 255);
    container.setScanIndex(0, 65535);

    EXPECT_EQ(container.data()[0].classIndex, 255);
    EXPECT_EQ(container.data()[0].scanIndex, 65535);
}

TEST(VertexContainer, CompleteDropsHiddenVertices)
{
    VertexContainer container = withClasses(3);
    container.setVisibility(1, 1);

    container.complete();

    EXPECT_EQ(container.size(), 2U);
    EXPECT_EQ(classesOf(container), (std::vector<int>{0, 2}));
}

TEST(VertexContainer, CompleteKeepsTheOrderAndDropsEveryVisibilityButZero)
{
    VertexContainer container = withClasses(6);
    container.setVisibility(0, 255);
    container.setVisibility(2, 2);
    container.setVisibility(3, 0);
    container.setVisibility(4, 1);

    container.complete();

    EXPECT_EQ(classesOf(container), (std::vector<int>{1, 3, 5}));
}

TEST(VertexContainer, CompleteCanDropEverything)
{
    VertexContainer container = withClasses(2);
    container.setVisibility(0, 1);
    container.setVisibility(1, 1);

    container.complete();

    EXPECT_EQ(container.size(), 0U);
    EXPECT_EQ(container.data(), nullptr);
}

TEST(VertexContainer, CompleteWithoutVisibilitiesChangesNothing)
{
    VertexContainer container = withClasses(3);

    container.complete();

    EXPECT_EQ(classesOf(container), (std::vector<int>{0, 1, 2}));
}

TEST(VertexContainer, SecondCompleteChangesNothing)
{
    VertexContainer container = withClasses(3);
    container.setVisibility(1, 1);
    container.complete();
    const VertexContainer::Vertex* const storage = container.data();

    container.complete();

    EXPECT_EQ(classesOf(container), (std::vector<int>{0, 2}));
    EXPECT_EQ(container.data(), storage);
}

TEST(VertexContainer, CopyCarriesTheVisibilities)
{
    VertexContainer container = withClasses(3);
    container.setVisibility(1, 1);

    VertexContainer copy = container;
    copy.complete();

    EXPECT_EQ(classesOf(copy), (std::vector<int>{0, 2}));
    EXPECT_EQ(classesOf(container), (std::vector<int>{0, 1, 2}));
}

TEST(VertexContainer, MoveTakesTheStorageAndTheVisibilities)
{
    VertexContainer container = withClasses(3);
    container.setVisibility(1, 1);
    const VertexContainer::Vertex* const storage = container.data();

    VertexContainer moved = std::move(container);

    EXPECT_EQ(moved.data(), storage);
    moved.complete();
    EXPECT_EQ(classesOf(moved), (std::vector<int>{0, 2}));
}

TEST(VertexContainer, CopiesReferToTheSameVerticesOnceTheyAreShared)
{
    VertexContainer container = withClasses(3);
    const std::shared_ptr<const VertexBlock> block = container.share();

    const VertexContainer copy = container;

    EXPECT_EQ(copy.data(), block->data());
    EXPECT_EQ(std::as_const(container).data(), block->data());
    EXPECT_EQ(block->size(), 3U);
    EXPECT_EQ(container.share(), block);
}

TEST(VertexContainer, AChangeLeavesWhatIsSharedAsItIs)
{
    VertexContainer container = withClasses(3);
    const std::shared_ptr<const VertexBlock> block = container.share();
    VertexContainer copy = container;

    copy.setClassIndex(0, 9);
    container.resize(1);

    EXPECT_EQ(classesOf(copy), (std::vector<int>{9, 1, 2}));
    EXPECT_EQ(classesOf(container), (std::vector<int>{0}));
    ASSERT_EQ(block->size(), 3U);
    EXPECT_EQ(block->data()[0].classIndex, 0);
}

TEST(VertexContainer, CompleteAfterSharingDropsHiddenVerticesOfACopy)
{
    VertexContainer container = withClasses(3);
    const std::shared_ptr<const VertexBlock> block = container.share();

    container.setVisibility(0, 1);
    container.complete();

    EXPECT_EQ(classesOf(container), (std::vector<int>{1, 2}));
    EXPECT_EQ(block->size(), 3U);
}

TEST(VertexContainer, EmptyOneSharesABlockWithoutVertices)
{
    VertexContainer container;

    EXPECT_EQ(container.share()->size(), 0U);
    EXPECT_EQ(std::as_const(container).data(), nullptr);
}

TEST(VertexContainer, CompleteForgetsTheVisibilities)
{
    VertexContainer container = withClasses(3);
    container.setVisibility(1, 1);
    container.complete();

    container.resize(3);
    container.complete();

    EXPECT_EQ(classesOf(container), (std::vector<int>{0, 2, 0}));
}
}  // namespace Render
