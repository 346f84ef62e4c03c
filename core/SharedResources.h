#pragma once

#include "core/NonCopyable.h"

#include <cstddef>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace Core
{
/// A registry through which users of the same thing find one shared object for it.
///
/// It holds weak references: the object dies with its last user, and the next request makes a fresh one.
///
/// Threads  any. The factory runs under the registry's lock, so one key never gets two objects.
template <class Key, class Resource>
class SharedResources : private NonCopyable
{
public:
    /// @param factory  std::shared_ptr<Resource>(), called when no live object exists for the key
    template <class Factory>
    std::shared_ptr<Resource> createOrGet(const Key& key, Factory&& factory)
    {
        const std::scoped_lock lock(mMutex);
        if (const auto found = mResources.find(key); found != mResources.end())
        {
            if (std::shared_ptr<Resource> alive = found->second.lock())
            {
                return alive;
            }
        }
        std::shared_ptr<Resource> created = std::forward<Factory>(factory)();
        std::erase_if(mResources, [](const auto& entry) { return entry.second.expired(); });
        mResources.insert_or_assign(key, created);
        return created;
    }

    /// Number of keys whose object is alive.
    std::size_t numAlive() const
    {
        const std::scoped_lock lock(mMutex);
        std::size_t count = 0;
        for (const auto& entry : mResources)
        {
            count += entry.second.expired() ? 0U : 1U;
        }
        return count;
    }

private:
    mutable std::recursive_mutex mMutex;  // guards mResources
    std::unordered_map<Key, std::weak_ptr<Resource>> mResources;
};
}  // namespace Core
