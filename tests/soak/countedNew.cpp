#include "tests/soak/countedNew.h"

#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <new>

namespace
{
std::atomic<std::uint64_t> bytes{0};

void* counted(void* memory)
{
    if (memory == nullptr)
    {
        throw std::bad_alloc();
    }
    bytes += malloc_usable_size(memory);
    return memory;
}

void giveBack(void* memory) noexcept
{
    if (memory != nullptr)
    {
        bytes -= malloc_usable_size(memory);
        std::free(memory);
    }
}

void* aligned(std::size_t size, std::align_val_t alignment)
{
    const auto step = static_cast<std::size_t>(alignment);
    return counted(std::aligned_alloc(step, (size + step - 1) / step * step));
}
}  // namespace

std::uint64_t bytesOfNew()
{
    return bytes;
}

void* operator new(std::size_t size)
{
    return counted(std::malloc(size == 0 ? 1 : size));
}

void* operator new[](std::size_t size)
{
    return counted(std::malloc(size == 0 ? 1 : size));
}

void* operator new(std::size_t size, std::align_val_t alignment)
{
    return aligned(size, alignment);
}

void* operator new[](std::size_t size, std::align_val_t alignment)
{
    return aligned(size, alignment);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    void* const memory = std::malloc(size == 0 ? 1 : size);
    return memory != nullptr ? counted(memory) : nullptr;
}

void* operator new[](std::size_t size, const std::nothrow_t& nothrow) noexcept
{
    return operator new(size, nothrow);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept
{
    giveBack(memory);
}

void operator delete[](void* memory, const std::nothrow_t&) noexcept
{
    giveBack(memory);
}

void operator delete(void* memory) noexcept
{
    giveBack(memory);
}

void operator delete[](void* memory) noexcept
{
    giveBack(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    giveBack(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    giveBack(memory);
}

void operator delete(void* memory, std::align_val_t) noexcept
{
    giveBack(memory);
}

void operator delete[](void* memory, std::align_val_t) noexcept
{
    giveBack(memory);
}

void operator delete(void* memory, std::size_t, std::align_val_t) noexcept
{
    giveBack(memory);
}

void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept
{
    giveBack(memory);
}
