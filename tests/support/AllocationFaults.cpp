#include "tests/support/AllocationFaults.h"

#include <cstdlib>
#include <new>

namespace
{
thread_local bool isWatching = false;
thread_local long allocations = 0;
thread_local long failing = 0;

void* allocate(std::size_t size)
{
    if (isWatching && ++allocations == failing)
    {
        throw std::bad_alloc();
    }
    void* const memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr)
    {
        throw std::bad_alloc();
    }
    return memory;
}

void* allocateAligned(std::size_t size, std::align_val_t alignment)
{
    if (isWatching && ++allocations == failing)
    {
        throw std::bad_alloc();
    }
    const auto step = static_cast<std::size_t>(alignment);
    void* const memory = std::aligned_alloc(step, (size + step - 1) / step * step);
    if (memory == nullptr)
    {
        throw std::bad_alloc();
    }
    return memory;
}
}  // namespace

AllocationFaults::AllocationFaults(long number)
{
    allocations = 0;
    failing = number;
    isWatching = true;
}

AllocationFaults::~AllocationFaults()
{
    isWatching = false;
}

long AllocationFaults::count() const
{
    return allocations;
}

bool AllocationFaults::hasFailed() const
{
    return failing != 0 && allocations >= failing;
}

void* operator new(std::size_t size)
{
    return allocate(size);
}

void* operator new[](std::size_t size)
{
    return allocate(size);
}

void* operator new(std::size_t size, std::align_val_t alignment)
{
    return allocateAligned(size, alignment);
}

void* operator new[](std::size_t size, std::align_val_t alignment)
{
    return allocateAligned(size, alignment);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    const bool mustFail = isWatching && ++allocations == failing;
    return mustFail ? nullptr : std::malloc(size == 0 ? 1 : size);
}

void* operator new[](std::size_t size, const std::nothrow_t& nothrow) noexcept
{
    return operator new(size, nothrow);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory, const std::nothrow_t&) noexcept
{
    std::free(memory);
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::align_val_t) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory, std::align_val_t) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t, std::align_val_t) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept
{
    std::free(memory);
}
