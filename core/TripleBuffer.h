#pragma once

#include "core/NonCopyable.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace Core
{
/// Hands values from one writer thread to one reader thread without either ever waiting for the other.
///
/// The writer fills back() and calls publish(); the reader calls update() and uses front(). A value published
/// twice before the reader looks is replaced: the reader sees the newest. Slots are reused, so their storage
/// is kept.
///
/// Threads  back() and publish() on one thread at a time, update() and front() on one other thread at a time.
template <class T>
class TripleBuffer : private NonCopyable
{
public:
    /// The slot to fill; holds an older value until it is overwritten.
    T& back() noexcept { return mSlots[mBack]; }

    /// Makes the back slot the newest value and takes another slot as the back one.
    void publish() noexcept
    {
        // release: the slot's content is visible to the reader that takes it; acquire: the reader is done
        // with the slot
        mBack = mMiddle.exchange(mBack | kFresh, std::memory_order_acq_rel) & kSlot;
    }

    /// Takes the newest published value as the front one.
    /// @return true when a value was published since the last call
    bool update() noexcept
    {
        if ((mMiddle.load(std::memory_order_relaxed) & kFresh) == 0)  // only this thread clears it
        {
            return false;
        }
        mFront = mMiddle.exchange(mFront, std::memory_order_acq_rel) & kSlot;
        return true;
    }

    /// The value taken by the last update() that returned true, a default one before that.
    T& front() noexcept { return mSlots[mFront]; }

    /// The same, to read only.
    const T& front() const noexcept { return mSlots[mFront]; }

private:
    static constexpr std::size_t kCacheLine =
        64;  // keeps the two threads' indices off one another's cache line

    // The fresh flag shares the middle index's word. Were it a word of its own, a reader could take the slot
    // between the exchange and the setting of the flag, and then hand itself an old value because of the late
    // flag.
    static constexpr std::uint32_t kSlot = 3;
    static constexpr std::uint32_t kFresh = 4;

    T mSlots[3]{};
    alignas(kCacheLine) std::uint32_t mBack = 0;
    alignas(kCacheLine
    ) std::atomic<std::uint32_t> mMiddle{1};  // slot number, plus kFresh while not yet taken
    alignas(kCacheLine) std::uint32_t mFront = 2;
};
}  // namespace Core
