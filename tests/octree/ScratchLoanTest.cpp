#include "octree/ScratchLoan.h"

#include <gtest/gtest.h>

#include <thread>

namespace
{
using Octree::ScratchLoan;

constexpr std::size_t kSize = 12'345;

TEST(ScratchLoan, UsesTheMemoryOfAThreadThatHasEnded)
{
    const std::byte* first = nullptr;
    const std::byte* second = nullptr;
    std::thread(
        [&]
        {
            const ScratchLoan loan;
            loan.reserveUnpacked(kSize);
            first = loan.unpacked.data();
        }
    ).join();
    std::thread(
        [&]
        {
            const ScratchLoan loan;
            loan.reserveUnpacked(kSize);
            second = loan.unpacked.data();
        }
    ).join();

    EXPECT_NE(first, nullptr);
    EXPECT_EQ(first, second);
}

TEST(ScratchLoan, TwoAtOnceHaveMemoryOfTheirOwn)
{
    const ScratchLoan first;
    const ScratchLoan second;
    first.unpacked.assign(kSize, std::byte{1});
    first.stored.assign(kSize, std::byte{2});
    second.unpacked.assign(kSize, std::byte{3});
    second.stored.assign(kSize, std::byte{4});

    EXPECT_EQ(first.unpacked.back(), std::byte{1});
    EXPECT_EQ(first.stored.back(), std::byte{2});
}

TEST(ScratchLoan, GivesUpWhatAnExceptionallyLargeNodeTook)
{
    constexpr std::size_t kTooLarge = (64U << 20U) + 1;
    {
        const ScratchLoan loan;
        loan.reserveUnpacked(kTooLarge);
        loan.stored.reserve(kTooLarge);
    }
    const ScratchLoan next;

    EXPECT_EQ(next.unpacked.capacity(), 0U);
    EXPECT_EQ(next.stored.capacity(), 0U);
}

TEST(ScratchLoan, LosesWhatItHadWhenItNeedsMoreRoom)
{
    const ScratchLoan loan;
    loan.unpacked.assign(kSize, std::byte{1});
    loan.reserveUnpacked(2 * kSize);

    EXPECT_TRUE(loan.unpacked.empty());
    EXPECT_GE(loan.unpacked.capacity(), 2 * kSize);
}
}  // namespace
