#pragma once

#include "core/CacheEntrySizeCount.h"
#include "core/NonCopyable.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <mutex>
#include <stdexcept>
#include <stop_token>
#include <unordered_map>
#include <utility>

namespace Core
{
/// A cache with a bound on the total weight of its entries that drops the least recently used ones first.
///
/// An entry heavier than the whole capacity empties the cache and is kept all the same. While the cache is
/// over its capacity the free weight wraps around on purpose, so nothing is evicted until the heavy entry has
/// left.
///
/// Threads  all operations from any thread. Loaders run outside the lock, so two threads may load one key at
///          once; the first to finish is kept.
template <class Key, class Value, class Size = CacheEntrySizeCount<Value>>
class LruCache : private NonCopyable
{
public:
    /// @param capacity  largest total weight, above 0
    /// @param expectedEntryCount  number of entries to reserve room for
    /// @throws std::invalid_argument  for a capacity of 0
    LruCache(std::uint64_t capacity, std::size_t expectedEntryCount) : mCapacity(capacity)
    {
        const std::scoped_lock lock(mMutex);
        if (capacity == 0)
        {
            throw std::invalid_argument("Size of the cache should be non-zero");
        }
        mPositions.max_load_factor(1.0F);
        mPositions.reserve(expectedEntryCount);
    }

    /// Copies the key's value to `out`, loading it first when it is absent.
    /// @param loader  bool(Value& value, std::stop_token), true when it produced the value; called without
    ///                the lock
    /// @return false when the loader failed or a stop was requested; the cache is then unchanged
    template <class Loader>
    bool getOrLoad(const Key& key, Value& out, Loader&& loader, std::stop_token stopToken)
    {
        return getOrLoad(
            key, out, std::forward<Loader>(loader), [] { return true; }, std::move(stopToken)
        );
    }

    /// The same, but a loaded value does not always enter the cache.
    /// @param mayKeep  bool(), asked without the lock once the loader has produced the value: false lets it
    /// go to `out` alone, whatever stop was requested meanwhile
    template <class Loader, class MayKeep>
    bool getOrLoad(const Key& key, Value& out, Loader&& loader, MayKeep&& mayKeep, std::stop_token stopToken)
    {
        {
            const std::scoped_lock lock(mMutex);
            if (copyUsed(key, out))
            {
                return true;
            }
        }

        Value loaded{};
        if (!std::forward<Loader>(loader)(loaded, stopToken))
        {
            return false;
        }
        if (!std::forward<MayKeep>(mayKeep)())
        {
            out = std::move(loaded);
            return true;
        }
        if (stopToken.stop_requested())
        {
            return false;
        }

        std::unique_lock lock(mMutex);
        if (copyUsed(key, out))
        {
            return true;
        }
        const std::uint64_t weight = Size{}(loaded);
        while (mCapacity - mWeight < weight && !mPositions.empty())
        {
            evictLeastRecentlyUsed();
            lock.unlock();  // a large clean-up lets other threads in between
            lock.lock();
        }
        if (const auto found = mPositions.find(key); found != mPositions.end())
        {
            out = found->second->value;  // somebody else inserted it while the lock was free
            return true;
        }
        out = loaded;
        std::list<Entry> entry;  // linked in last, so that running out of memory leaves the cache as it was
        entry.push_front(Entry{key, std::move(loaded), weight});
        mPositions.emplace(key, entry.begin());
        mEntries.splice(mEntries.begin(), entry);
        mWeight += weight;
        return true;
    }

    /// The key's value, which becomes the most recently used one.
    /// @throws std::invalid_argument  when the key is absent
    Value get(const Key& key)
    {
        const std::scoped_lock lock(mMutex);
        const auto found = mPositions.find(key);
        if (found == mPositions.end())
        {
            throw std::invalid_argument("Error: Key is not in cache");
        }
        mEntries.splice(mEntries.begin(), mEntries, found->second);
        return found->second->value;
    }

    /// Whether the key has a value; does not count as a use of it.
    bool contains(const Key& key) const
    {
        const std::scoped_lock lock(mMutex);
        return mPositions.find(key) != mPositions.end();
    }

    /// Drops every entry.
    void clear()
    {
        const std::scoped_lock lock(mMutex);
        mPositions.clear();
        mEntries.clear();
        mWeight = 0;
    }

    /// Number of entries.
    std::size_t size() const
    {
        const std::scoped_lock lock(mMutex);
        return mPositions.size();
    }

    /// Total weight of the entries.
    std::uint64_t weight() const
    {
        const std::scoped_lock lock(mMutex);
        return mWeight;
    }

    /// Largest total weight.
    std::uint64_t capacity() const noexcept { return mCapacity; }

private:
    struct Entry
    {
        Key key;
        Value value;
        std::uint64_t weight;
    };

    /// Copies the key's value, which becomes the most recently used one; false when it is absent.
    bool copyUsed(const Key& key, Value& out)
    {
        const auto found = mPositions.find(key);
        if (found == mPositions.end())
        {
            return false;
        }
        mEntries.splice(mEntries.begin(), mEntries, found->second);
        out = found->second->value;
        return true;
    }

    void evictLeastRecentlyUsed()
    {
        mWeight -= mEntries.back().weight;
        mPositions.erase(mEntries.back().key);
        mEntries.pop_back();
    }

    mutable std::recursive_mutex
        mMutex;  // guards everything below; recursive because operations use one another
    const std::uint64_t mCapacity;
    std::uint64_t mWeight = 0;
    std::list<Entry> mEntries;  // most recently used first
    std::unordered_map<Key, typename std::list<Entry>::iterator> mPositions;
};
}  // namespace Core
