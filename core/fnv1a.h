#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Core
{
/// 64-bit FNV-1a over a number's 8 bytes in memory order.
/// Source  G. Fowler, L. C. Noll, K.-P. Vo: "The FNV Non-Cryptographic Hash Algorithm".
inline std::uint64_t fnv1a(std::uint64_t value) noexcept
{
    unsigned char bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    std::uint64_t hash = 0xcbf29ce484222325ULL;
    for (const unsigned char byte : bytes)
    {
        hash = (hash ^ byte) * 0x100000001b3ULL;
    }
    return hash;
}
}  // namespace Core
