#pragma once

#include <cstdint>
#include <memory>

namespace Core
{
/// Weighs a cache entry by its value's size(), the number of elements it holds.
template <class Value>
struct CacheEntrySizeCount
{
    /// What the value weighs.
    std::uint64_t operator()(const Value& value) const { return static_cast<std::uint64_t>(value.size()); }
};

/// A shared object without a size of its own weighs 1, so a cache of them counts entries.
template <class T>
struct CacheEntrySizeCount<std::shared_ptr<T>>
{
    std::uint64_t operator()(const std::shared_ptr<T>&) const noexcept { return 1; }
};
}  // namespace Core
