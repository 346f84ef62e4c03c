// All variants of the Morton decoder, against codes taken apart bit by bit.

#include "octree/potree/MortonDecoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace
{
using PoTree::MortonDecoder;
using PoTree::PointConversion;

struct Variant
{
    std::string name;
    const MortonDecoder* decoder;
};

std::vector<Variant> variants()
{
    std::vector<Variant> all{{"plain", &MortonDecoder::plain()}};
    if (MortonDecoder::avx2() != nullptr)
    {
        all.push_back({"avx2", MortonDecoder::avx2()});
    }
    return all;
}

/// Bits first, first + 3, ... below 48.
std::uint32_t everyThirdBit(std::uint64_t code, unsigned first)
{
    std::uint32_t number = 0;
    for (unsigned bit = 0; bit < 16; ++bit)
    {
        number |= static_cast<std::uint32_t>((code >> (first + 3 * bit)) & 1U) << bit;
    }
    return number;
}

using Words = std::vector<std::uint64_t>;
using Coordinates = std::array<std::vector<double>, 3>;

const std::byte* bytesOf(const Words& words)
{
    return reinterpret_cast<const std::byte*>(words.data());
}

Coordinates decodedBitByBit(const Words& codes, const PointConversion& conversion)
{
    Coordinates out;
    for (std::size_t i = 0; i + 1 < codes.size(); i += 2)
    {
        for (unsigned axis = 0; axis < 3; ++axis)
        {
            const double stored = everyThirdBit(codes[i], axis) * 65536.0 + everyThirdBit(codes[i + 1], axis);
            volatile double scaled = stored * conversion.scale[axis];  // rounded before the sum
            out[axis].push_back((scaled + conversion.shift[axis]) * conversion.unitScale);
        }
    }
    return out;
}

Coordinates decoded(const MortonDecoder& decoder, const Words& codes, const PointConversion& conversion)
{
    const std::size_t count = codes.size() / 2;
    Coordinates out{std::vector(count, -1.0), std::vector(count, -1.0), std::vector(count, -1.0)};
    decoder.positions(bytesOf(codes), count, conversion, out[0].data(), out[1].data(), out[2].data());
    return out;
}

/// The same bits, so that zeros of both signs differ and one NaN is like another.
void expectSameBits(const Coordinates& actual, const Coordinates& expected)
{
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        ASSERT_EQ(actual[axis].size(), expected[axis].size());
        for (std::size_t i = 0; i < actual[axis].size(); ++i)
        {
            ASSERT_EQ(
                std::bit_cast<std::uint64_t>(actual[axis][i]), std::bit_cast<std::uint64_t>(expected[axis][i])
            ) << "point "
              << i << ", axis " << axis;
        }
    }
}

/// Positions whose upper halves stay the same for a while, as in sorted points, or change each time.
Words randomPositions(std::size_t count, std::size_t run, std::mt19937_64& random)
{
    Words words;
    std::uint64_t upper = random();
    for (std::size_t i = 0; i < count; ++i)
    {
        upper = i % run == 0 ? random() : upper;
        words.push_back(upper);
        words.push_back(random());
    }
    return words;
}

TEST(MortonDecoder, PositionsOfEveryVariantAreThoseOfTheBits)
{
    std::mt19937_64 random(20);
    for (const Variant& variant : variants())
    {
        for (const std::size_t count : {0U, 1U, 2U, 3U, 4U, 5U, 7U, 8U, 63U, 255U, 256U, 257U})
        {
            for (const std::size_t run : {1U, 2U, 3U, 4U, 5U, 64U})
            {
                SCOPED_TRACE(
                    variant.name + ", " + std::to_string(count) + " points in runs of " + std::to_string(run)
                );
                const Words codes = randomPositions(count, run, random);
                const PointConversion conversion{{0.001, 0.1, 1e-7}, {-1234.5, 0.3, 7e8}, 0.3048, false};

                expectSameBits(
                    decoded(*variant.decoder, codes, conversion), decodedBitByBit(codes, conversion)
                );
            }
        }
    }
}

TEST(MortonDecoder, PositionsAtTheEndsOfTheRangeAreExact)
{
    constexpr std::uint64_t kAll = 0xFFFFFFFFFFFF;
    const Words codes{0, 0, kAll, kAll, 0, kAll, kAll, 0, 1, 2, 4, 1, ~std::uint64_t{0}, ~std::uint64_t{0}};
    constexpr double kLargest = std::numeric_limits<double>::max();
    for (const Variant& variant : variants())
    {
        for (const PointConversion& conversion :
             {PointConversion{{1.0, 1.0, 1.0}, {0.0, 0.0, 0.0}, 1.0, false},
              PointConversion{{-0.25, 0.0, -1.0}, {-0.0, -0.0, 4294967295.0}, 1e-300, false},
              PointConversion{{kLargest, 1e300, 5e-324}, {0.0, -kLargest, 5e-324}, 2.0, false}})
        {
            SCOPED_TRACE(variant.name);
            expectSameBits(decoded(*variant.decoder, codes, conversion), decodedBitByBit(codes, conversion));
        }
        const Coordinates whole =
            decoded(*variant.decoder, {kAll, kAll}, {{1.0, 1.0, 1.0}, {0.0, 0.0, 0.0}, 1.0, false});
        EXPECT_EQ(whole[2].front(), 4294967295.0) << variant.name;
    }
}

TEST(MortonDecoder, ColorsOfEveryVariantAreThoseOfTheBits)
{
    std::mt19937_64 random(21);
    for (const Variant& variant : variants())
    {
        for (const bool wide : {false, true})
        {
            for (const std::size_t count : {0U, 1U, 3U, 4U, 5U, 8U, 256U, 259U})
            {
                SCOPED_TRACE(variant.name + ", " + std::to_string(count) + (wide ? ", wide" : ", narrow"));
                Words codes(count);
                // Half of them below 8 bits a channel; the highest bits belong to no channel.
                std::generate(
                    codes.begin(), codes.end(), [&] { return random() >> (random() % 2 == 0 ? 40U : 0U); }
                );
                std::vector<Math::Color> colors(count);

                variant.decoder->colors(bytesOf(codes), count, wide, colors.data());

                const auto channel = [&](std::size_t i, unsigned first)
                {
                    const std::uint32_t value = everyThirdBit(codes[i], first);
                    return static_cast<unsigned char>(wide ? value / 256 : std::min(value, 255U));
                };
                for (std::size_t i = 0; i < count; ++i)
                {
                    ASSERT_EQ(colors[i], Math::Color(channel(i, 0), channel(i, 1), channel(i, 2), 255))
                        << "point " << i;
                }
            }
        }
    }
}

TEST(MortonDecoder, NothingIsWrittenBehindTheLastPoint)
{
    const Words codes(20, 0x123456789ABC);
    for (const Variant& variant : variants())
    {
        for (std::size_t count = 0; count < 10; ++count)
        {
            Coordinates out{std::vector(10, -1.0), std::vector(10, -1.0), std::vector(10, -1.0)};
            std::vector<Math::Color> colors(10, Math::Color(1, 2, 3, 4));

            variant.decoder->positions(
                bytesOf(codes),
                count,
                {{1.0, 1.0, 1.0}, {}, 1.0, false},
                out[0].data(),
                out[1].data(),
                out[2].data()
            );
            variant.decoder->colors(bytesOf(codes), count, true, colors.data());

            EXPECT_EQ(std::count(out[0].begin(), out[0].end(), -1.0), 10 - static_cast<int>(count))
                << variant.name;
            EXPECT_EQ(std::count(out[2].begin(), out[2].end(), -1.0), 10 - static_cast<int>(count))
                << variant.name;
            EXPECT_EQ(
                std::count(colors.begin(), colors.end(), Math::Color(1, 2, 3, 4)),
                10 - static_cast<int>(count)
            ) << variant.name;
        }
    }
}
}  // namespace
