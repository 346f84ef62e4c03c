#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace Core
{
/// 64-bit FNV-1a over bytes.
/// Source  G. Fowler, L. C. Noll, K.-P. Vo: "The FNV Non-Cryptographic Hash Algorithm".
inline std::uint64_t fnv1a(std::span<const std::byte> bytes) noexcept
{
    std::uint64_t hash = 0xcbf29ce484222325ULL;
    for (const std::byte byte : bytes)
    {
        hash = (hash ^ static_cast<std::uint64_t>(byte)) * 0x100000001b3ULL;
    }
    return hash;
}

/// The same over a number's 8 bytes in memory order.
inline std::uint64_t fnv1a(std::uint64_t value) noexcept
{
    std::byte bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    return fnv1a(std::span<const std::byte>(bytes));
}
}  // namespace Core
