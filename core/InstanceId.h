#pragma once

#include "core/Export.h"

#include <atomic>
#include <cstdint>
#include <typeinfo>

namespace Core
{
/// The counter that hands out the ids of one class, found by the class's type name.
///
/// It lives in this library alone, so every module of the process counts with the same one: a static member
/// of a template would exist once per module.
/// Threads  any. The reference stays valid until the process ends.
CORE_API std::atomic<std::uint64_t>& instanceCounter(const char* typeName);

/// Base class that gives each object of class T an id, unique among the objects of T in this process.
///
/// Ids count from 0; copies keep the id of their original.
/// Threads  construction on any thread.
template <class T>
class InstanceId
{
public:
    /// The object's number.
    std::uint64_t id() const noexcept { return mId; }

protected:
    InstanceId() : mId(nextId()) {}

    InstanceId(const InstanceId&) = default;
    InstanceId& operator=(const InstanceId&) = default;
    ~InstanceId() = default;

private:
    static std::uint64_t nextId()
    {
        static std::atomic<std::uint64_t>& counter = instanceCounter(typeid(T).name());
        return counter.fetch_add(
            1, std::memory_order_relaxed
        );  // only uniqueness matters, nothing is published
    }

    std::uint64_t mId;
};
}  // namespace Core
