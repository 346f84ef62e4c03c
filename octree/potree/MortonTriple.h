#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace PoTree
{
/// Three 16-bit numbers taken out of a 48-bit Morton code: bits 0, 3, 6, ... are the first number's, bits
/// 1, 4, 7, ... the second's, the others the third's. Bits above 47 are ignored.
///
/// Nine bits of the code at a time go through a table of 4 KB, which stays in the fastest cache; measured
/// twice as fast as gathering every third bit with masks and shifts, once per number.
/// Threads  a plain value.
/// Source   G. M. Morton, "A Computer Oriented Geodetic Data Base" (1966).
class MortonTriple
{
public:
    explicit MortonTriple(std::uint64_t code) noexcept
        : mFields(
              part(code) | part(code >> 9U) << 3U | part(code >> 18U) << 6U | part(code >> 27U) << 9U |
              part(code >> 36U) << 12U | part((code >> 45U) & 7U) << 15U
          )
    {
    }

    std::uint32_t first() const noexcept { return static_cast<std::uint32_t>(mFields & 0xFFFFU); }

    std::uint32_t second() const noexcept
    {
        return static_cast<std::uint32_t>((mFields >> kSecondShift) & 0xFFFFU);
    }

    std::uint32_t third() const noexcept { return static_cast<std::uint32_t>(mFields >> kThirdShift); }

private:
    static constexpr unsigned kPartBits = 9;
    static constexpr std::uint64_t kPartCount = 1U << kPartBits;

    // The numbers' places in mFields; the gaps keep them from running into each other.
    static constexpr unsigned kSecondShift = 20;
    static constexpr unsigned kThirdShift = 40;

    // The fields of the code's lowest nine bits.
    static std::uint64_t part(std::uint64_t code) noexcept
    {
        static constexpr std::array<std::uint64_t, kPartCount> kTable = []
        {
            std::array<std::uint64_t, kPartCount> table{};
            for (std::uint64_t entry = 0; entry < kPartCount; ++entry)
            {
                for (unsigned bit = 0; bit < kPartBits / 3; ++bit)
                {
                    table[entry] |= ((entry >> (3 * bit)) & 1U) << bit;
                    table[entry] |= ((entry >> (3 * bit + 1)) & 1U) << (kSecondShift + bit);
                    table[entry] |= ((entry >> (3 * bit + 2)) & 1U) << (kThirdShift + bit);
                }
            }
            return table;
        }();
        return kTable[code % kPartCount];
    }

    std::uint64_t mFields;
};
}  // namespace PoTree
