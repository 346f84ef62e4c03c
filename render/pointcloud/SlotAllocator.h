#pragma once

#include "render/Export.h"

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <utility>

namespace Render
{
/// Hands out ranges of an array, each as long as it is asked for, and takes them back: where the points of a
/// node lie in a buffer. It knows nothing of the buffer itself.
///
/// The smallest free range that is large enough is taken; ranges that become free join their neighbours.
/// Logarithmic in the number of free ranges.
///
/// Units    elements; every range begins at a multiple of kAlignment and takes a multiple of it.
/// Threads  one at a time.
class RENDER_API SlotAllocator
{
public:
    static constexpr std::size_t kAlignment = 4;

    /// @param capacity  length of the array, rounded down to whole alignments
    explicit SlotAllocator(std::size_t capacity);

    /// What a range of `count` elements takes.
    static constexpr std::size_t rounded(std::size_t count) noexcept
    {
        return (count + kAlignment - 1) / kAlignment * kAlignment;
    }

    /// @param count  above 0
    /// @return first element; nothing when no free range is long enough
    std::optional<std::size_t> allocate(std::size_t count);

    /// Takes a range back.
    /// @param first, count  what allocate has given and was given
    /// @throws std::logic_error  when the range is not in use as a whole; nothing changes then
    void free(std::size_t first, std::size_t count);

    std::size_t capacity() const noexcept { return mCapacity; }

    /// Elements in use, alignment included.
    std::size_t used() const noexcept { return mUsed; }

    /// Length of the longest free range.
    std::size_t largestFree() const noexcept;

private:
    void addFree(std::size_t first, std::size_t length);
    void removeFree(std::map<std::size_t, std::size_t>::iterator range);

    std::size_t mCapacity;
    std::size_t mUsed = 0;
    std::map<std::size_t, std::size_t> mFree;               // first element to length
    std::set<std::pair<std::size_t, std::size_t>> mBySize;  // (length, first) of the same ranges
};
}  // namespace Render
