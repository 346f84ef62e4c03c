#include "render/pointcloud/NodeLoader.h"
#include "render/pointcloud/NodePrioritizer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace Render
{
namespace
{
using Octree::OctreeNodeId;
using Names = std::vector<std::string>;

constexpr std::size_t kBytes = 100;  // of each node

OctreeNodeId node(const char* name)
{
    return OctreeNodeId::fromName(name);
}

/// A source that records what it is asked for and can be made to wait.
class Source
{
public:
    VertexSource function()
    {
        return [this](const OctreeNodeId& id, VertexContainer& vertices, std::stop_token stop)
        { return load(id, vertices, stop); };
    }

    /// Lets each node wait until it is let through.
    void close()
    {
        const std::scoped_lock lock(mMutex);
        mIsOpen = false;
    }

    void open()
    {
        {
            const std::scoped_lock lock(mMutex);
            mIsOpen = true;
        }
        mChanged.notify_all();
    }

    /// Waits until so many nodes have been begun.
    Names awaitBegun(std::size_t count)
    {
        std::unique_lock lock(mMutex);
        mChanged.wait(lock, [&] { return mBegun.size() >= count; });
        return mBegun;
    }

    /// Waits until so many nodes have come to their end.
    void awaitEnded(std::size_t count)
    {
        std::unique_lock lock(mMutex);
        mChanged.wait(lock, [&] { return mEnded >= count; });
    }

    std::size_t numStopped()
    {
        const std::scoped_lock lock(mMutex);
        return mStopped;
    }

    std::string failing;  // the node that cannot be read

private:
    bool load(const OctreeNodeId& id, VertexContainer& vertices, const std::stop_token& stop)
    {
        std::unique_lock lock(mMutex);
        mBegun.push_back(id.name());
        mChanged.notify_all();
        while (!mIsOpen && !stop.stop_requested())
        {
            mChanged.wait_for(lock, std::chrono::milliseconds(1));
        }
        ++mEnded;
        mStopped += stop.stop_requested() ? 1U : 0U;
        mChanged.notify_all();
        if (id.name() == failing)
        {
            throw std::runtime_error("cannot read " + failing);
        }
        if (stop.stop_requested())
        {
            return false;
        }
        vertices.resize(id.level() + 1);
        vertices.share();
        return true;
    }

    std::mutex mMutex;  // guards the rest
    std::condition_variable mChanged;
    bool mIsOpen = true;
    Names mBegun;
    std::size_t mEnded = 0;
    std::size_t mStopped = 0;
};

class NodeLoaderTest : public testing::Test
{
protected:
    std::unique_ptr<NodeLoader> makeLoader(std::size_t threadCount)
    {
        return std::make_unique<NodeLoader>(
            std::make_shared<Core::WorkerPool>(threadCount),
            source.function(),
            [this](const OctreeNodeId& id) { return id.name() == atHand; },
            NodeLoader::Notice{
                [this](const OctreeNodeId& id) { notices.push_back("+" + id.name()); },
                [this](const OctreeNodeId& id) { notices.push_back("-" + id.name()); },
            }
        );
    }

    std::size_t sizeOf(NodeLoader& loader, const char* name)
    {
        VertexContainer vertices;
        EXPECT_TRUE(loader.get(node(name), vertices, {}));
        return vertices.size();
    }

    Source source;
    std::string atHand;
    Names notices;  // of nodes that are expected or forgotten
};

TEST_F(NodeLoaderTest, WhatIsRequestedIsAnnouncedOnceAndBeforeItIsRead)
{
    const auto loader = makeLoader(1);
    atHand = "r2";
    source.close();
    loader->request(node("r0"), kBytes);
    source.awaitBegun(1);
    loader->request(node("r0"), kBytes);
    loader->request(node("r1"), kBytes);
    loader->request(node("r2"), kBytes);

    EXPECT_EQ(notices, (Names{"+r0", "+r1"}));
    source.open();
}

TEST_F(NodeLoaderTest, WhatIsDroppedBeforeItBeginsIsTakenBack)
{
    const auto loader = makeLoader(1);
    source.close();
    loader->request(node("r0"), kBytes);
    source.awaitBegun(1);
    loader->request(node("r1"), kBytes);
    loader->request(node("r2"), kBytes);
    notices.clear();

    loader->drop(node("r1"));
    loader->drop(node("r3"));
    loader->dropAll();

    EXPECT_EQ(notices, (Names{"-r1", "-r2"}));  // "r0" is being read
    source.open();
}

TEST_F(NodeLoaderTest, WhatHasNoRoomIsNotAnnounced)
{
    const auto loader = makeLoader(1);
    source.close();
    loader->setMaxBytesInFlight(kBytes);
    loader->request(node("r0"), kBytes);
    source.awaitBegun(1);

    EXPECT_FALSE(loader->request(node("r1"), kBytes));

    EXPECT_EQ(notices, (Names{"+r0"}));
    source.open();
}
}  // namespace

TEST_F(NodeLoaderTest, ANodeThatWasNotRequestedIsReadByTheCaller)
{
    const auto loader = makeLoader(1);

    EXPECT_EQ(sizeOf(*loader, "r12"), 3U);

    EXPECT_EQ(source.awaitBegun(1), (Names{"r12"}));
}

TEST_F(NodeLoaderTest, RequestedNodesAreReadOnceInTheirOrder)
{
    const auto loader = makeLoader(1);
    for (const char* name : {"r", "r1", "r12"})
    {
        EXPECT_TRUE(loader->request(node(name), kBytes));
    }
    source.awaitEnded(3);

    EXPECT_EQ(sizeOf(*loader, "r12"), 3U);
    EXPECT_EQ(sizeOf(*loader, "r"), 1U);
    EXPECT_EQ(sizeOf(*loader, "r1"), 2U);

    EXPECT_EQ(source.awaitBegun(3), (Names{"r", "r1", "r12"}));
}

TEST_F(NodeLoaderTest, TakingANodeWaitsForTheReadThatRuns)
{
    const auto loader = makeLoader(1);
    source.close();
    loader->request(node("r1"), kBytes);
    source.awaitBegun(1);
    std::jthread opener([&] { source.open(); });

    EXPECT_EQ(sizeOf(*loader, "r1"), 2U);

    EXPECT_EQ(source.awaitBegun(1).size(), 1U);
}

TEST_F(NodeLoaderTest, NoMoreIsInFlightThanAllowed)
{
    const auto loader = makeLoader(1);
    loader->setMaxBytesInFlight(2 * kBytes);

    EXPECT_TRUE(loader->request(node("r0"), kBytes));
    EXPECT_TRUE(loader->request(node("r1"), kBytes));
    EXPECT_FALSE(loader->request(node("r2"), kBytes));
    EXPECT_TRUE(loader->request(node("r0"), kBytes)) << "it is in flight already";
    EXPECT_EQ(loader->bytesInFlight(), 2 * kBytes);

    sizeOf(*loader, "r0");
    EXPECT_EQ(loader->bytesInFlight(), kBytes);
    EXPECT_TRUE(loader->request(node("r2"), kBytes));
}

TEST_F(NodeLoaderTest, OneNodeIsInFlightHoweverLarge)
{
    const auto loader = makeLoader(1);
    loader->setMaxBytesInFlight(1);

    EXPECT_TRUE(loader->request(node("r0"), kBytes));
    EXPECT_FALSE(loader->request(node("r1"), kBytes));
}

TEST_F(NodeLoaderTest, WhatIsAtHandTakesNoRoom)
{
    const auto loader = makeLoader(1);
    atHand = "r3";

    EXPECT_TRUE(loader->request(node("r3"), kBytes));

    EXPECT_EQ(loader->bytesInFlight(), 0U);
}

TEST_F(NodeLoaderTest, AFailureIsReportedWhenTheNodeIsTakenAndThenForgotten)
{
    source.failing = "r1";
    const auto loader = makeLoader(1);
    loader->request(node("r1"), kBytes);
    source.awaitEnded(1);
    VertexContainer vertices;
    std::string message;
    try
    {
        loader->get(node("r1"), vertices, {});
    }
    catch (const std::runtime_error& error)
    {
        message = error.what();
    }
    EXPECT_EQ(message, "cannot read r1");
    EXPECT_EQ(loader->bytesInFlight(), 0U);

    source.failing.clear();
    EXPECT_EQ(sizeOf(*loader, "r1"), 2U);
}

TEST_F(NodeLoaderTest, AStopRequestEndsTheWaitAndTheReadGoesOn)
{
    const auto loader = makeLoader(1);
    source.close();
    loader->request(node("r1"), kBytes);
    source.awaitBegun(1);
    std::stop_source stop;
    std::jthread stopper([&] { stop.request_stop(); });
    VertexContainer vertices;

    EXPECT_FALSE(loader->get(node("r1"), vertices, stop.get_token()));

    source.open();
    EXPECT_EQ(sizeOf(*loader, "r1"), 2U);
    EXPECT_EQ(source.awaitBegun(1).size(), 1U);
}

TEST_F(NodeLoaderTest, DroppedRequestsAreNotRead)
{
    const auto loader = makeLoader(1);
    source.close();
    loader->request(node("r0"), kBytes);
    loader->request(node("r1"), kBytes);
    source.awaitBegun(1);

    loader->dropAll();
    EXPECT_EQ(loader->bytesInFlight(), kBytes) << "of the one that is read";
    source.open();
    loader->request(node("r2"), kBytes);
    sizeOf(*loader, "r2");

    EXPECT_EQ(source.awaitBegun(2), (Names{"r0", "r2"}));
    EXPECT_EQ(loader->bytesInFlight(), 0U);
}

TEST_F(NodeLoaderTest, OneRequestCanBeDropped)
{
    const auto loader = makeLoader(1);
    source.close();
    for (const char* name : {"r0", "r1", "r2"})
    {
        loader->request(node(name), kBytes);
    }
    source.awaitBegun(1);

    loader->drop(node("r1"));
    EXPECT_EQ(loader->bytesInFlight(), 2 * kBytes);
    source.open();
    sizeOf(*loader, "r2");

    EXPECT_EQ(source.awaitBegun(2), (Names{"r0", "r2"}));
}

TEST_F(NodeLoaderTest, ADroppedReadThatIsRequestedAgainIsHandedOut)
{
    const auto loader = makeLoader(1);
    source.close();
    loader->request(node("r0"), kBytes);
    source.awaitBegun(1);
    loader->dropAll();

    EXPECT_TRUE(loader->request(node("r0"), kBytes));
    source.open();

    EXPECT_EQ(sizeOf(*loader, "r0"), 2U);
    EXPECT_EQ(source.awaitBegun(1).size(), 1U);
}

TEST_F(NodeLoaderTest, ItsEndStopsTheReadsThatRun)
{
    auto loader = makeLoader(2);
    source.close();
    loader->request(node("r0"), kBytes);
    loader->request(node("r1"), kBytes);
    loader->request(node("r2"), kBytes);
    source.awaitBegun(2);

    loader.reset();  // its pool with it

    EXPECT_EQ(source.numStopped(), 2U);
    EXPECT_EQ(source.awaitBegun(2).size(), 2U);
}

// For the thread sanitizer: two loaders of one pool, requests, drops and takes.
TEST_F(NodeLoaderTest, ManyReadsAtOnce)
{
    const auto pool = std::make_shared<Core::WorkerPool>(3);
    std::atomic<std::size_t> faults = 0;
    std::vector<std::jthread> users;
    for (unsigned user = 0; user < 2; ++user)
    {
        users.emplace_back(
            [&, user]
            {
                NodeLoader loader(
                    pool,
                    [](const OctreeNodeId& id, VertexContainer& vertices, const std::stop_token&)
                    {
                        vertices.resize(id.code());
                        vertices.share();
                        return true;
                    },
                    {}
                );
                loader.setMaxBytesInFlight(5 * kBytes);
                std::mt19937 random(user);
                for (std::size_t step = 0; step < 2000; ++step)
                {
                    const OctreeNodeId id = OctreeNodeId().child(random() % 8).child(random() % 8);
                    VertexContainer vertices;
                    switch (random() % 8)
                    {
                        case 0:
                            loader.dropAll();
                            break;
                        case 1:
                        case 2:
                            faults += loader.get(id, vertices, {}) && vertices.size() == id.code() ? 0U : 1U;
                            break;
                        default:
                            loader.request(id, kBytes);
                    }
                    faults += loader.bytesInFlight() > 5 * kBytes ? 1U : 0U;
                }
            }
        );
    }
    users.clear();
    EXPECT_EQ(faults.load(), 0U);
}
}  // namespace Render
