#include "core/InstanceId.h"

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

namespace Core
{
namespace
{
struct Registry
{
    std::mutex mutex;  // guards counters
    std::unordered_map<std::string, std::unique_ptr<std::atomic<std::uint64_t>>> counters;
};

/// Never destroyed: static objects of other modules may still be numbered while the process ends.
Registry& registry()
{
    static Registry& instance = *new Registry;
    return instance;
}
}  // namespace

std::atomic<std::uint64_t>& instanceCounter(const char* typeName)
{
    Registry& known = registry();
    const std::scoped_lock lock(known.mutex);
    std::unique_ptr<std::atomic<std::uint64_t>>& counter = known.counters[typeName];
    if (!counter)
    {
        counter = std::make_unique<std::atomic<std::uint64_t>>(0);
    }
    return *counter;
}
}  // namespace Core
