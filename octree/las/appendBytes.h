#pragma once

#include <array>
#include <bit>
#include <cstring>
#include <string>

namespace Las
{
/// Appends a number as LAS files have it: the lowest byte first.
template <class T>
void appendBytes(std::string& out, T value)
{
    static_assert(std::endian::native == std::endian::little, "numbers are copied as they lie in memory");
    std::array<char, sizeof value> bytes;
    std::memcpy(bytes.data(), &value, sizeof value);
    out.append(bytes.data(), bytes.size());
}
}  // namespace Las
