#include "render/gpu/ComException.h"
#include "render/gpu/VertexContainer.h"
#include "render/pointcloud/PointStore.h"
#include "tests/support/DeviceFixture.h"
#include "tests/support/ForwardingContext.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace Render
{
namespace
{
using Vertex = VertexBlock::Vertex;
using Block = std::shared_ptr<const VertexBlock>;

constexpr std::size_t kNoBound = std::numeric_limits<std::size_t>::max();
constexpr std::size_t kBudget = 10'000'000;

/// Vertices that tell their block's number and their place in it.
Block block(std::size_t size, unsigned number)
{
    VertexContainer container;
    container.resize(size);
    for (std::size_t i = 0; i < size; ++i)
    {
        container.data()[i] =
            Vertex{{static_cast<float>(i), static_cast<float>(number), 0}, Math::Color(1, 2, 3, 4), 0, 0, 0};
    }
    return container.share();
}

Buffer publicationOf(const std::vector<Block>& blocks)
{
    Buffer buffer;
    for (const Block& entry : blocks)
    {
        NodeRecord node;
        node.index = buffer.nodes.size();
        node.firstPoint = buffer.vertices.size();
        node.pointCount = entry->size();
        buffer.nodes.push_back(node);
        buffer.vertices.append(entry);
    }
    return buffer;
}

class PointStoreDevice : public DeviceFixture
{
protected:
    /// Expects that the store has just these blocks, each with its bytes.
    void expectHolds(const PointStore& store, const std::vector<Block>& blocks)
    {
        ASSERT_EQ(store.drawnNodes().size(), blocks.size());
        std::map<std::size_t, std::vector<std::byte>> windows;
        for (std::size_t i = 0; i < blocks.size(); ++i)
        {
            const PointSlot slot = store.drawnNodes()[i].slot;
            std::vector<std::byte>& bytes = windows[slot.window];
            if (bytes.empty())
            {
                bytes = readBack(store.windows().windows().at(slot.window).points.buffer());
            }
            const std::size_t size = blocks[i]->size() * sizeof(Vertex);
            ASSERT_LE(slot.first * sizeof(Vertex) + size, bytes.size());
            ASSERT_EQ(std::memcmp(bytes.data() + slot.first * sizeof(Vertex), blocks[i]->data(), size), 0)
                << "node " << i;
        }
    }

    static std::size_t capacityOf(const PointStore& store)
    {
        std::size_t capacity = 0;
        for (const PointWindows::Window& window : store.windows().windows())
        {
            capacity += window.slots.capacity();
        }
        return capacity;
    }
};
}  // namespace

TEST_F(PointStoreDevice, HoldsWhatIsPublishedAndNothingElse)
{
    PointStore store(std::make_shared<PointWindows>(device()), kBudget);
    const Block a = block(10, 1);
    const Block b = block(1000, 2);

    EXPECT_TRUE(store.update(context(), publicationOf({a, b}), kNoBound));
    expectHolds(store, {a, b});
    EXPECT_EQ(store.windows().windows().at(0).slots.used(), 12u + 1000u);

    EXPECT_TRUE(store.update(context(), publicationOf({b}), kNoBound));
    expectHolds(store, {b});
    EXPECT_EQ(store.windows().windows().at(0).slots.used(), 1000u);
}

TEST_F(PointStoreDevice, TellsWhetherAnythingHasChanged)
{
    PointStore store(std::make_shared<PointWindows>(device()), kBudget);
    const Block a = block(10, 1);
    const Block b = block(1, 2);
    store.update(context(), publicationOf({a}), kNoBound);
    EXPECT_TRUE(store.takeChanged());
    EXPECT_FALSE(store.takeChanged());

    store.update(context(), publicationOf({a}), kNoBound);
    EXPECT_FALSE(store.takeChanged());

    store.update(context(), publicationOf({a, b}), kNoBound);
    store.update(context(), publicationOf({a, b}), kNoBound);
    EXPECT_TRUE(store.takeChanged()) << "nobody has asked in between";

    store.update(context(), publicationOf({a, block(1, 3)}), kNoBound);
    EXPECT_TRUE(store.takeChanged()) << "other points at the same place";
}

TEST_F(PointStoreDevice, CloudsShareTheBuffersAndFollowWhenPointsMove)
{
    const auto windows = std::make_shared<PointWindows>(device());
    PointStore first(windows, kBudget);
    const std::vector<Block> blocks{block(1000, 1), block(2000, 2)};
    first.update(context(), publicationOf(blocks), kNoBound);
    ASSERT_TRUE(first.takeChanged());
    {
        PointStore second(windows, kBudget);
        const Block large = block(100'000, 3);  // more than the first step of the buffer
        second.update(context(), publicationOf({large}), kNoBound);

        EXPECT_TRUE(first.takeChanged()) << "its points have moved into a larger buffer";
        expectHolds(first, blocks);
        expectHolds(second, {large});
        EXPECT_EQ(windows->windows().size(), 1u);
        EXPECT_EQ(windows->windows().at(0).slots.used(), 103'000u);
    }
    EXPECT_EQ(windows->windows().at(0).slots.used(), 3000u) << "a cloud that ends gives its places back";
    first.update(context(), publicationOf(blocks), kNoBound);
    EXPECT_EQ(windows->windows().at(0).slots.capacity(), 65'536u);
    expectHolds(first, blocks);
}

TEST_F(PointStoreDevice, GrowsInStepsAndGivesBack)
{
    PointStore store(std::make_shared<PointWindows>(device()), kBudget);
    EXPECT_EQ(capacityOf(store), 0u) << "nothing is shown, nothing is taken";
    std::vector<Block> blocks;
    for (unsigned i = 0; i < 12; ++i)
    {
        blocks.push_back(block(50'000, i));
        store.update(context(), publicationOf(blocks), kNoBound);
        EXPECT_LE(capacityOf(store), blocks.size() * 50'000 * 5 / 4 + 65'536);
    }
    expectHolds(store, blocks);

    blocks.resize(2);
    store.update(context(), publicationOf(blocks), kNoBound);
    EXPECT_LE(capacityOf(store), 2 * 100'000u + 65'536u);
    expectHolds(store, blocks);

    store.update(context(), publicationOf({}), kNoBound);
    EXPECT_EQ(capacityOf(store), 0u);
}

TEST_F(PointStoreDevice, SeveralBuffersHoldWhatOneMustNot)
{
    constexpr std::size_t kLargestWindow = 65'536;
    PointStore store(std::make_shared<PointWindows>(device(), kLargestWindow), kBudget);
    std::vector<Block> blocks;
    for (unsigned i = 0; i < 8; ++i)
    {
        blocks.push_back(block(20'000, i));
    }

    store.update(context(), publicationOf(blocks), kNoBound);

    EXPECT_GE(store.windows().windows().size(), 3u) << "three blocks fit a buffer";
    for (const PointWindows::Window& window : store.windows().windows())
    {
        EXPECT_LE(window.slots.capacity(), kLargestWindow);
    }
    expectHolds(store, blocks);
}

TEST_F(PointStoreDevice, NodesBehindTheBudgetAreLeftOut)
{
    PointStore store(std::make_shared<PointWindows>(device()), 15);
    const Block a = block(10, 1);

    EXPECT_TRUE(store.update(context(), publicationOf({a, block(10, 2)}), kNoBound));

    expectHolds(store, {a});
}

TEST_F(PointStoreDevice, AFailedUploadIsMadeGoodByTheNextCall)
{
    /// Refuses the n-th mapping.
    class Refusing : public ForwardingContext
    {
    public:
        using ForwardingContext::ForwardingContext;

        HRESULT STDMETHODCALLTYPE Map(
            ID3D11Resource* resource, UINT index, D3D11_MAP type, UINT flags, D3D11_MAPPED_SUBRESOURCE* mapped
        ) override
        {
            return untilRefusal-- == 0 ? E_OUTOFMEMORY : inner()->Map(resource, index, type, flags, mapped);
        }

        int untilRefusal = 0;
    };

    const std::vector<Block> blocks{block(100, 1), block(200, 2), block(300, 3)};
    for (int refused = 0; refused < 3; ++refused)
    {
        PointStore store(std::make_shared<PointWindows>(device()), kBudget);
        Refusing refusing(context());
        refusing.untilRefusal = refused;

        EXPECT_THROW(store.update(&refusing, publicationOf(blocks), kNoBound), ComException);
        EXPECT_TRUE(store.update(&refusing, publicationOf(blocks), kNoBound));

        expectHolds(store, blocks);
        EXPECT_EQ(store.windows().windows().at(0).slots.used(), 600u);
    }
}

TEST_F(PointStoreDevice, ARefusedBufferNamesWhatItWasForAndTheBudget)
{
    PointStore store(std::make_shared<PointWindows>(device()), kBudget);
    faultsOf(device()).failAt(1, CallFaults::Kind::OutOfMemory);

    const std::string message =
        messageOf<ComException>([&] { store.update(context(), publicationOf({block(100, 1)}), kNoBound); });

    faultsOf(device()).failNone();
    EXPECT_THAT(message, testing::EndsWith(": room for 65536 points; a smaller point budget needs less"));
}

TEST_F(PointStoreDevice, RandomPublicationsAreAlwaysThere)
{
    constexpr std::size_t kLargestWindow = 131'072;
    std::mt19937 random(7);
    PointStore store(std::make_shared<PointWindows>(device(), kLargestWindow), kBudget);
    std::vector<Block> pool;
    for (unsigned i = 0; i < 60; ++i)
    {
        pool.push_back(block(1 + random() % 9000, i));
    }
    for (int step = 0; step < 60; ++step)
    {
        std::vector<Block> shown;
        const std::size_t share = 1 + random() % 10;
        for (const Block& candidate : pool)
        {
            if (random() % 10 < share)
            {
                shown.push_back(candidate);
            }
        }
        const std::size_t bound = step % 3 == 0 ? 100'000 : kNoBound;
        while (!store.update(context(), publicationOf(shown), bound))
        {
        }
        expectHolds(store, shown);
        if (HasFatalFailure())
        {
            return;
        }
        pool[random() % pool.size()] = block(1 + random() % 9000, static_cast<unsigned>(100 + step));
    }
}
}  // namespace Render
