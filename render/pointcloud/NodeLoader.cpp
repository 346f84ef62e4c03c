#include "render/pointcloud/NodeLoader.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace Render
{
namespace
{
// A stop request wakes nobody up, see docs/threads.md; it is looked at so often.
constexpr std::chrono::milliseconds kStopCheckInterval(2);

enum class Progress
{
    Waiting,
    Running,
    Done,
};

struct Entry
{
    Progress progress = Progress::Waiting;
    bool isWanted = true;
    std::size_t bytes = 0;
    // the outcome
    bool isLoaded = false;
    VertexContainer vertices;
    std::exception_ptr error;
};
}  // namespace

struct NodeLoader::State
{
    using Entries = std::unordered_map<Octree::OctreeNodeId, Entry>;

    State(VertexSource sourceOfNodes, std::function<bool(const Octree::OctreeNodeId&)> isNodeAtHand)
        : source(std::move(sourceOfNodes)), isAtHand(std::move(isNodeAtHand))
    {
    }

    void load(const Octree::OctreeNodeId& id);

    /// To be called with the lock.
    Entries::iterator erase(Entries::iterator entry)
    {
        bytesInFlight -= entry->second.bytes;
        return entries.erase(entry);
    }

    const VertexSource source;
    const std::function<bool(const Octree::OctreeNodeId&)> isAtHand;
    std::stop_source closing;

    std::mutex mutex;  // guards the rest
    std::condition_variable loaded;
    Entries entries;
    std::size_t bytesInFlight = 0;
    std::size_t maxBytesInFlight = kDefaultMaxBytesInFlight;
};

/// A job: reads the node, if it still waits.
void NodeLoader::State::load(const Octree::OctreeNodeId& id)
{
    {
        const std::scoped_lock lock(mutex);
        const auto found = entries.find(id);
        if (found == entries.end() || found->second.progress != Progress::Waiting)
        {
            return;
        }
        found->second.progress = Progress::Running;
    }
    VertexContainer vertices;
    bool isLoaded = false;
    std::exception_ptr error;
    try
    {
        isLoaded = source(id, vertices, closing.get_token());
    }
    catch (...)
    {
        error = std::current_exception();
    }
    {
        const std::scoped_lock lock(mutex);
        const auto running = entries.find(id);  // nobody else erases it while it runs
        Entry& entry = running->second;
        if (!entry.isWanted)
        {
            erase(running);
            return;
        }
        entry.progress = Progress::Done;
        entry.isLoaded = isLoaded;
        entry.vertices = std::move(vertices);
        entry.error = std::move(error);
    }
    loaded.notify_all();
}

NodeLoader::NodeLoader(
    std::shared_ptr<Core::WorkerPool> pool,
    VertexSource source,
    std::function<bool(const Octree::OctreeNodeId&)> isAtHand
)
    : mState(std::make_shared<State>(std::move(source), std::move(isAtHand))), mQueue(std::move(pool))
{
}

NodeLoader::~NodeLoader()
{
    mState->closing.request_stop();
}

void NodeLoader::setMaxBytesInFlight(std::size_t bytes)
{
    const std::scoped_lock lock(mState->mutex);
    mState->maxBytesInFlight = bytes;
}

std::size_t NodeLoader::maxBytesInFlight() const
{
    const std::scoped_lock lock(mState->mutex);
    return mState->maxBytesInFlight;
}

std::size_t NodeLoader::bytesInFlight() const
{
    const std::scoped_lock lock(mState->mutex);
    return mState->bytesInFlight;
}

bool NodeLoader::request(const Octree::OctreeNodeId& id, std::size_t bytes)
{
    const auto isInFlight = [&]
    {
        const auto found = mState->entries.find(id);
        if (found == mState->entries.end())
        {
            return false;
        }
        found->second.isWanted = true;
        return true;
    };
    std::unique_lock lock(mState->mutex);
    if (isInFlight())
    {
        return true;
    }
    if (mState->isAtHand)
    {
        lock.unlock();  // the source has locks of its own
        if (mState->isAtHand(id))
        {
            return true;
        }
        lock.lock();
        if (isInFlight())
        {
            return true;
        }
    }
    if (mState->bytesInFlight > 0 && mState->bytesInFlight + bytes > mState->maxBytesInFlight)
    {
        return false;
    }
    const auto entry = mState->entries.try_emplace(id).first;
    entry->second.bytes = bytes;
    mState->bytesInFlight += bytes;
    try
    {
        mQueue.add([state = mState, id] { state->load(id); });
    }
    catch (...)
    {
        mState->erase(entry);
        throw;
    }
    return true;
}

bool NodeLoader::get(const Octree::OctreeNodeId& id, VertexContainer& vertices, std::stop_token stopToken)
{
    std::unique_lock lock(mState->mutex);
    for (;;)
    {
        const auto found = mState->entries.find(id);
        if (found == mState->entries.end())
        {
            lock.unlock();
            return mState->source(id, vertices, std::move(stopToken));
        }
        if (stopToken.stop_requested())
        {
            return false;
        }
        if (found->second.progress == Progress::Done)
        {
            Entry outcome = std::move(found->second);
            mState->erase(found);
            lock.unlock();
            if (outcome.error)
            {
                std::rethrow_exception(outcome.error);
            }
            vertices = std::move(outcome.vertices);
            return outcome.isLoaded;
        }
        mState->loaded.wait_for(lock, kStopCheckInterval);
    }
}

void NodeLoader::dropRequests()
{
    mQueue.clear();
    const std::scoped_lock lock(mState->mutex);
    for (auto entry = mState->entries.begin(); entry != mState->entries.end();)
    {
        if (entry->second.progress == Progress::Running)
        {
            entry->second.isWanted = false;
            ++entry;
        }
        else
        {
            entry = mState->erase(entry);
        }
    }
}
}  // namespace Render
