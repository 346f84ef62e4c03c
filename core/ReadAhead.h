#pragma once

#include "core/NonCopyable.h"
#include "core/WorkerPool.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <iterator>
#include <memory>
#include <mutex>
#include <stop_token>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Core
{
/// Reads values on worker threads before they are asked for.
///
/// Never more is in flight than a number of bytes: requested and not yet taken, whether read or not. One
/// value is, however large.
/// Threads  all operations from any thread.
template <class Key, class Value>
class ReadAhead : private NonCopyable
{
public:
    /// Fills in a value. Returns false when a stop was requested or there is none; it may throw to tell why.
    using Source = std::function<bool(const Key&, Value&, std::stop_token)>;
    /// Whether the source has a key's value without reading.
    using IsAtHand = std::function<bool(const Key&)>;

    /// Told of keys that will be read, in their order, and of those that will not be after all.
    struct Notice
    {
        std::function<void(const Key&)> expected;   ///< may be empty; must not throw
        std::function<void(const Key&)> forgotten;  ///< likewise
    };

    /// 32 MiB: what comes from afar has to be asked for long before its turn.
    static constexpr std::size_t kDefaultMaxBytesInFlight = std::size_t{32} << 20U;

    /// @param source    called on the pool's threads, several values at once, and by get()
    /// @param isAtHand  true for a key whose value the source has without reading; may be empty
    /// @param notice    called by the threads that request and drop
    ReadAhead(std::shared_ptr<WorkerPool> pool, Source source, IsAtHand isAtHand, Notice notice = {})
        : mState(std::make_shared<State>(std::move(source), std::move(isAtHand))),
          mQueue(std::move(pool)),
          mNotice(std::move(notice))
    {
    }

    /// Asks the reads that run to stop and waits for them; the source is not held any longer then.
    ~ReadAhead()
    {
        mState->closing.request_stop();
        dropAll();
        std::unique_lock lock(mState->mutex);
        mState->finished.wait(lock, [this] { return mState->entries.empty(); });
        mState->source = nullptr;
        mState->isAtHand = nullptr;
    }

    /// Most bytes in flight from now on; what is in flight stays.
    void setMaxBytesInFlight(std::size_t bytes)
    {
        const std::scoped_lock lock(mState->mutex);
        mState->maxBytesInFlight = bytes;
    }

    /// Most bytes in flight.
    std::size_t maxBytesInFlight() const
    {
        const std::scoped_lock lock(mState->mutex);
        return mState->maxBytesInFlight;
    }

    /// Bytes of the values that are in flight.
    std::size_t bytesInFlight() const
    {
        const std::scoped_lock lock(mState->mutex);
        return mState->bytesInFlight;
    }

    /// Lets a value be read, behind those that wait, unless it is at hand or in flight already.
    /// @param bytes  what it takes, as far as one knows
    /// @return false when there is no room for it in flight
    bool request(const Key& key, std::size_t bytes)
    {
        {
            const std::scoped_lock lock(mState->mutex);
            if (mState->want(key))
            {
                return true;
            }
        }
        if (mState->isAtHand && mState->isAtHand(key))  // without the lock: the source has locks of its own
        {
            return true;
        }
        {
            const std::scoped_lock lock(mState->mutex);
            if (!mState->hasRoom(bytes))
            {
                return false;
            }
        }
        tell(mNotice.expected, key);  // before a worker can begin, without the lock as well
        if (add(key, bytes))
        {
            return true;
        }
        tell(mNotice.forgotten, key);
        return false;
    }

    /// Takes a value: waits for it when it is in flight, and otherwise reads it on the calling thread.
    /// @return false when a stop was requested or the source returned false; the value stays in flight after
    ///         a stop request
    /// @throws what the source throws
    bool get(const Key& key, Value& value, std::stop_token stopToken)
    {
        std::unique_lock lock(mState->mutex);
        for (;;)
        {
            const auto found = mState->entries.find(key);
            if (found == mState->entries.end())
            {
                lock.unlock();
                return mState->source(key, value, std::move(stopToken));
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
                value = std::move(outcome.value);
                return outcome.isRead;
            }
            mState->finished.wait_for(lock, kStopCheckInterval);
        }
    }

    /// Forgets one request.
    void drop(const Key& key)
    {
        {
            const std::scoped_lock lock(mState->mutex);
            const auto entry = mState->entries.find(key);
            if (entry == mState->entries.end())
            {
                return;
            }
            const bool hasBegun = entry->second.progress != Progress::Waiting;
            mState->drop(entry);
            if (hasBegun)
            {
                return;
            }
        }
        tell(mNotice.forgotten, key);
    }

    /// Forgets all requests. Reads that run come to their end and are handed out if they are requested
    /// before.
    void dropAll()
    {
        mQueue.clear();
        std::vector<Key> forgotten;
        {
            const std::scoped_lock lock(mState->mutex);
            for (auto entry = mState->entries.begin(); entry != mState->entries.end();)
            {
                if (mNotice.forgotten && entry->second.progress == Progress::Waiting)
                {
                    forgotten.push_back(entry->first);
                }
                entry = mState->drop(entry);
            }
        }
        for (const Key& key : forgotten)
        {
            tell(mNotice.forgotten, key);
        }
    }

private:
    // A stop request wakes nobody up, see docs/threads.md; it is looked at so often.
    static constexpr std::chrono::milliseconds kStopCheckInterval{2};

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
        bool isRead = false;
        Value value{};
        std::exception_ptr error;
    };

    using Entries = std::unordered_map<Key, Entry>;

    /// What jobs hold too.
    struct State
    {
        State(Source sourceOfValues, IsAtHand isValueAtHand)
            : source(std::move(sourceOfValues)), isAtHand(std::move(isValueAtHand))
        {
        }

        void read(const Key& key);

        // The next are to be called with the lock.

        /// @return false when the value is not in flight
        bool want(const Key& key)
        {
            const auto found = entries.find(key);
            if (found == entries.end())
            {
                return false;
            }
            found->second.isWanted = true;
            return true;
        }

        bool hasRoom(std::size_t bytes) const
        {
            return bytesInFlight == 0 || bytesInFlight + bytes <= maxBytesInFlight;
        }

        typename Entries::iterator erase(typename Entries::iterator entry)
        {
            bytesInFlight -= entry->second.bytes;
            return entries.erase(entry);
        }

        /// @return the next one
        typename Entries::iterator drop(typename Entries::iterator entry)
        {
            if (entry->second.progress != Progress::Running)
            {
                return erase(entry);
            }
            entry->second.isWanted = false;
            return std::next(entry);
        }

        Source source;
        IsAtHand isAtHand;
        std::stop_source closing;

        std::mutex mutex;  // guards the rest
        std::condition_variable finished;
        Entries entries;
        std::size_t bytesInFlight = 0;
        std::size_t maxBytesInFlight = kDefaultMaxBytesInFlight;
    };

    static void tell(const std::function<void(const Key&)>& whom, const Key& key)
    {
        if (whom)
        {
            whom(key);
        }
    }

    /// @return false when there is no room
    bool add(const Key& key, std::size_t bytes)
    {
        const std::scoped_lock lock(mState->mutex);
        if (mState->want(key))
        {
            return true;
        }
        if (!mState->hasRoom(bytes))
        {
            return false;
        }
        const auto entry = mState->entries.try_emplace(key).first;
        entry->second.bytes = bytes;
        mState->bytesInFlight += bytes;
        try
        {
            mQueue.add([state = mState, key] { state->read(key); });
        }
        catch (...)
        {
            mState->erase(entry);
            throw;
        }
        return true;
    }

    const std::shared_ptr<State> mState;
    WorkerPool::Queue mQueue;
    const Notice mNotice;
};

/// A job: reads the value, if it still waits.
template <class Key, class Value>
void ReadAhead<Key, Value>::State::read(const Key& key)
{
    {
        const std::scoped_lock lock(mutex);
        const auto found = entries.find(key);
        if (found == entries.end() || found->second.progress != Progress::Waiting)
        {
            return;
        }
        found->second.progress = Progress::Running;
    }
    Value value{};
    bool isRead = false;
    std::exception_ptr error;
    try
    {
        isRead = source(key, value, closing.get_token());
    }
    catch (...)
    {
        error = std::current_exception();
    }
    {
        const std::scoped_lock lock(mutex);
        const auto running = entries.find(key);  // nobody else erases it while it runs
        Entry& entry = running->second;
        if (entry.isWanted)
        {
            entry.progress = Progress::Done;
            entry.isRead = isRead;
            entry.value = std::move(value);
            entry.error = std::move(error);
        }
        else
        {
            erase(running);
        }
    }
    finished.notify_all();
}
}  // namespace Core
