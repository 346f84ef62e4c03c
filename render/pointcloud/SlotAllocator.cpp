#include "render/pointcloud/SlotAllocator.h"

#include <iterator>
#include <stdexcept>

namespace Render
{
SlotAllocator::SlotAllocator(std::size_t capacity) : mCapacity(capacity / kAlignment * kAlignment)
{
    if (mCapacity > 0)
    {
        addFree(0, mCapacity);
    }
}

std::optional<std::size_t> SlotAllocator::allocate(std::size_t count)
{
    if (count > mCapacity)
    {
        return std::nullopt;  // also where rounding would wrap around
    }
    const std::size_t length = rounded(count);
    const auto fitting = mBySize.lower_bound({length, 0});
    if (fitting == mBySize.end())
    {
        return std::nullopt;
    }
    const auto [freeLength, first] = *fitting;
    removeFree(mFree.find(first));
    if (freeLength > length)
    {
        addFree(first + length, freeLength - length);
    }
    mUsed += length;
    return first;
}

void SlotAllocator::free(std::size_t first, std::size_t count)
{
    const std::size_t length = rounded(count);
    const auto next = mFree.lower_bound(first);
    const auto previous = next == mFree.begin() ? mFree.end() : std::prev(next);
    const bool isInUse = first % kAlignment == 0 && count > 0 && count <= mCapacity &&
                         first <= mCapacity - length &&
                         (next == mFree.end() || first + length <= next->first) &&
                         (previous == mFree.end() || previous->first + previous->second <= first);
    if (!isInUse)
    {
        throw std::logic_error("SlotAllocator: a range that is not in use was given back");
    }

    std::size_t joinedFirst = first;
    std::size_t joinedLength = length;
    if (next != mFree.end() && next->first == first + length)
    {
        joinedLength += next->second;
        removeFree(next);
    }
    if (previous != mFree.end() && previous->first + previous->second == first)
    {
        joinedFirst = previous->first;
        joinedLength += previous->second;
        removeFree(previous);
    }
    addFree(joinedFirst, joinedLength);
    mUsed -= length;
}

std::size_t SlotAllocator::largestFree() const noexcept
{
    return mBySize.empty() ? 0 : mBySize.rbegin()->first;
}

void SlotAllocator::addFree(std::size_t first, std::size_t length)
{
    mFree.emplace(first, length);
    mBySize.emplace(length, first);
}

void SlotAllocator::removeFree(std::map<std::size_t, std::size_t>::iterator range)
{
    mBySize.erase({range->second, range->first});
    mFree.erase(range);
}
}  // namespace Render
