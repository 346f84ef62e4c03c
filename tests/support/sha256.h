#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

/// SHA-256 of the bytes, in lower-case hexadecimal.
/// Source  FIPS 180-4.
inline std::string sha256(std::span<const std::byte> bytes)
{
    static constexpr std::array<std::uint32_t, 64> kRoundConstants{
        0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
        0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
        0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
        0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
        0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
        0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
        0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
        0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2,
    };
    std::array<std::uint32_t, 8> state{
        0x6a09e667,
        0xbb67ae85,
        0x3c6ef372,
        0xa54ff53a,
        0x510e527f,
        0x9b05688c,
        0x1f83d9ab,
        0x5be0cd19,
    };

    // the message, a 1 bit, zeros, and the message's length in bits as the last 8 bytes of a 64-byte block
    const std::size_t paddedSize = (bytes.size() + 9 + 63) / 64 * 64;
    const auto padded = [&](std::size_t i) -> std::uint32_t
    {
        if (i < bytes.size())
        {
            return static_cast<std::uint32_t>(bytes[i]);
        }
        if (i == bytes.size())
        {
            return 0x80;
        }
        const std::size_t fromEnd = paddedSize - 1 - i;
        const std::uint64_t bits = std::uint64_t{bytes.size()} * 8;
        return fromEnd < 8 ? static_cast<std::uint32_t>((bits >> (8 * fromEnd)) & 0xFFU) : 0;
    };
    for (std::size_t block = 0; block < paddedSize; block += 64)
    {
        std::array<std::uint32_t, 64> w{};
        for (std::size_t t = 0; t < 16; ++t)
        {
            const std::size_t i = block + 4 * t;
            w[t] = padded(i) << 24U | padded(i + 1) << 16U | padded(i + 2) << 8U | padded(i + 3);
        }
        for (std::size_t t = 16; t < 64; ++t)
        {
            const std::uint32_t s0 = std::rotr(w[t - 15], 7) ^ std::rotr(w[t - 15], 18) ^ (w[t - 15] >> 3U);
            const std::uint32_t s1 = std::rotr(w[t - 2], 17) ^ std::rotr(w[t - 2], 19) ^ (w[t - 2] >> 10U);
            w[t] = w[t - 16] + s0 + w[t - 7] + s1;
        }
        auto [a, b, c, d, e, f, g, h] = state;
        for (std::size_t t = 0; t < 64; ++t)
        {
            const std::uint32_t s1 = std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25);
            const std::uint32_t t1 = h + s1 + ((e & f) ^ (~e & g)) + kRoundConstants[t] + w[t];
            const std::uint32_t s0 = std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22);
            const std::uint32_t t2 = s0 + ((a & b) ^ (a & c) ^ (b & c));
            h = g;
            g = f;
            f = e;
            e = d + t1;
            d = c;
            c = b;
            b = a;
            a = t1 + t2;
        }
        const std::array<std::uint32_t, 8> added{a, b, c, d, e, f, g, h};
        for (std::size_t i = 0; i < state.size(); ++i)
        {
            state[i] += added[i];
        }
    }

    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const std::uint32_t word : state)
    {
        for (unsigned shift = 32; shift > 0; shift -= 4)
        {
            text.push_back(kDigits[(word >> (shift - 4)) & 15U]);
        }
    }
    return text;
}
