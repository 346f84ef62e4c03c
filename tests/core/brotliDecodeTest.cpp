#include "core/brotliDecode.h"
#include "tests/support/ThreadSignals.h"
#include "tests/support/messageOf.h"

#include <brotli/encode.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>
#include <stdexcept>
#include <stop_token>
#include <thread>
#include <vector>

namespace
{
using Bytes = std::vector<std::byte>;

constexpr std::size_t kNoBound = std::numeric_limits<std::size_t>::max();

Bytes compressed(const Bytes& bytes, int quality = 5)
{
    std::size_t size = BrotliEncoderMaxCompressedSize(bytes.size()) + 16;
    Bytes result(size);
    const BROTLI_BOOL done = BrotliEncoderCompress(
        quality,
        BROTLI_DEFAULT_WINDOW,
        BROTLI_MODE_GENERIC,
        bytes.size(),
        reinterpret_cast<const std::uint8_t*>(bytes.data()),
        &size,
        reinterpret_cast<std::uint8_t*>(result.data())
    );
    if (done == BROTLI_FALSE)
    {
        throw std::runtime_error("cannot compress the bytes of the test");
    }
    result.resize(size);
    return result;
}

/// Bytes of which `values` different ones occur: 256 do not compress, few do.
Bytes randomBytes(std::size_t size, unsigned int values, unsigned int seed)
{
    std::mt19937 random(seed);
    std::uniform_int_distribution<unsigned int> anyValue(0, values - 1);
    Bytes result(size);
    for (std::byte& byte : result)
    {
        byte = static_cast<std::byte>(anyValue(random));
    }
    return result;
}

Bytes decoded(const Bytes& stream, std::size_t maxOutputSize = kNoBound)
{
    Bytes out;
    Core::brotliDecode(stream, out, maxOutputSize);
    return out;
}

TEST(BrotliDecode, UndoesTheEncoder)
{
    for (const std::size_t size : {1U, 1000U, 65536U, 1000000U})
    {
        const Bytes bytes = randomBytes(size, 7, 1);

        EXPECT_EQ(decoded(compressed(bytes)), bytes) << size;
    }
}

TEST(BrotliDecode, UndoesTheEncoderForBytesThatDoNotCompress)
{
    const Bytes bytes = randomBytes(300000, 256, 2);

    EXPECT_EQ(decoded(compressed(bytes)), bytes);
}

TEST(BrotliDecode, ReadsAStreamWrittenByHand)
{
    // one uncompressed meta-block "abc", then an empty last one (RFC 7932, section 9)
    const Bytes stream{
        std::byte{0x20},  // from bit 0 on: 0 window 16; 0 not last; 00 four nibbles of size - 1; 2 the lowest
        std::byte{0x00},  // two nibbles
        std::byte{0x10},  // the last nibble; 1 uncompressed; padding
        std::byte{'a'},
        std::byte{'b'},
        std::byte{'c'},
        std::byte{0x03}  // 1 last; 1 empty
    };

    EXPECT_EQ(decoded(stream), (Bytes{std::byte{'a'}, std::byte{'b'}, std::byte{'c'}}));
}

TEST(BrotliDecode, UnpacksAnEmptyStreamToNothing)
{
    Bytes out(10);

    Core::brotliDecode(compressed({}), out, 0);

    EXPECT_TRUE(out.empty());
}

TEST(BrotliDecode, ReplacesWhatWasInTheOutputAndKeepsItsMemory)
{
    const Bytes bytes = randomBytes(1000, 7, 3);
    Bytes out(5000, std::byte{0xAA});
    const std::byte* const memory = out.data();

    Core::brotliDecode(compressed(bytes), out, 5000);

    EXPECT_EQ(out, bytes);
    EXPECT_EQ(out.data(), memory);
}

TEST(BrotliDecode, AllowsExactlyTheBound)
{
    const Bytes bytes = randomBytes(1000, 7, 4);

    EXPECT_EQ(decoded(compressed(bytes), bytes.size()), bytes);
}

TEST(BrotliDecode, RefusesOneByteAboveTheBound)
{
    const Bytes stream = compressed(randomBytes(1000, 7, 4));

    EXPECT_EQ(
        messageOf<std::runtime_error>([&] { decoded(stream, 999); }),
        "Error: Brotli stream unpacks to more than the expected 999 bytes"
    );
}

TEST(BrotliDecode, TakesNoMemoryAboveTheBoundForABomb)
{
    const Bytes bomb = compressed(Bytes(24U << 20U, std::byte{0}));
    ASSERT_LT(bomb.size(), 1000U);
    constexpr std::size_t kBound = 5000000;
    Bytes out;

    EXPECT_THROW(Core::brotliDecode(bomb, out, kBound), std::runtime_error);

    EXPECT_LE(out.capacity(), kBound);
    EXPECT_TRUE(out.empty());
}

TEST(BrotliDecode, FillsMemoryThatWasReservedWithoutTakingMore)
{
    const Bytes bytes = randomBytes(1'000'000, 7, 9);
    Bytes out;
    out.reserve(bytes.size());
    const std::byte* const memory = out.data();

    ASSERT_TRUE(Core::brotliDecode(compressed(bytes), out, bytes.size()));

    EXPECT_EQ(out, bytes);
    EXPECT_EQ(out.data(), memory);
}

TEST(BrotliDecode, AStopRequestBeforeLeavesNothing)
{
    std::stop_source stop;
    stop.request_stop();
    Bytes out(3);

    EXPECT_FALSE(Core::brotliDecode(compressed(randomBytes(1000, 7, 4)), out, kNoBound, stop.get_token()));

    EXPECT_TRUE(out.empty());
}

TEST(BrotliDecode, AStopRequestEndsAStreamThatIsBeingUnpacked)
{
    const Bytes bomb = compressed(Bytes(256U << 20U, std::byte{0}));
    bool wasStopped = false;
    for (int round = 0; round < 50 && !wasStopped; ++round)  // the thread below may come too late
    {
        std::stop_source stop;
        Bytes out;
        Rendezvous begins(2);
        const std::jthread requester(
            [&]
            {
                begins.arriveAndWait();
                stop.request_stop();
            }
        );
        begins.arriveAndWait();

        wasStopped = !Core::brotliDecode(bomb, out, kNoBound, stop.get_token());
    }

    EXPECT_TRUE(wasStopped);
}

TEST(BrotliDecode, RefusesAStreamCutAnywhere)
{
    const Bytes stream = compressed(randomBytes(300, 20, 5));
    for (std::size_t size = 0; size < stream.size(); ++size)
    {
        const Bytes cut(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(size));
        Bytes out(3);

        EXPECT_THAT(
            messageOf<std::runtime_error>([&] { Core::brotliDecode(cut, out, kNoBound); }),
            testing::HasSubstr("Brotli stream is truncated")
        ) << size;
        EXPECT_TRUE(out.empty());
    }
}

TEST(BrotliDecode, RefusesBytesAfterTheEnd)
{
    Bytes stream = compressed(randomBytes(300, 20, 6));
    stream.resize(stream.size() + 2);

    EXPECT_EQ(
        messageOf<std::runtime_error>([&] { decoded(stream); }),
        "Error: 2 bytes follow the end of the Brotli stream"
    );
}

TEST(BrotliDecode, SaysWhatIsBrokenInAStream)
{
    const Bytes notBrotli(100, std::byte{0xFF});

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { decoded(notBrotli); }), testing::HasSubstr("broken Brotli stream")
    );
}

TEST(BrotliDecode, SurvivesEveryDamagedByte)
{
    constexpr std::size_t kBound = 100000;
    const Bytes stream = compressed(randomBytes(500, 20, 7));
    for (std::size_t i = 0; i < stream.size(); ++i)
    {
        Bytes damaged = stream;
        damaged[i] ^= std::byte{0x5A};
        Bytes out;
        try
        {
            Core::brotliDecode(damaged, out, kBound);
        }
        catch (const std::runtime_error&)
        {
            EXPECT_TRUE(out.empty());
        }
        EXPECT_LE(out.capacity(), kBound);
    }
}

TEST(BrotliDecode, WorksOnSeveralThreadsAtOnce)
{
    const Bytes bytes = randomBytes(200000, 30, 8);
    const Bytes stream = compressed(bytes);
    std::vector<Bytes> results(4);
    std::vector<std::thread> threads;
    for (Bytes& result : results)
    {
        threads.emplace_back([&] { Core::brotliDecode(stream, result, bytes.size()); });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }

    for (const Bytes& result : results)
    {
        EXPECT_EQ(result, bytes);
    }
}
}  // namespace
