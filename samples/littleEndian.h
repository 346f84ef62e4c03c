#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>

namespace Samples
{
/// Appends the value's bytes, lowest first, on any host.
template <std::integral T>
void appendLittleEndian(std::string& bytes, T value)
{
    const auto wide = static_cast<std::uint64_t>(value);
    for (std::size_t i = 0; i < sizeof(T); ++i)
    {
        bytes.push_back(static_cast<char>(wide >> (8 * i) & 0xffU));
    }
}

inline void appendLittleEndian(std::string& bytes, double value)
{
    appendLittleEndian(bytes, std::bit_cast<std::uint64_t>(value));
}

inline void appendLittleEndian(std::string& bytes, float value)
{
    appendLittleEndian(bytes, std::bit_cast<std::uint32_t>(value));
}
}  // namespace Samples
