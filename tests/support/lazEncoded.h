#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

/// The fields of a LAS point that tests look at, and those that steer its compression.
struct LazPoint
{
    std::array<std::int32_t, 3> position{};
    std::uint16_t intensity = 0;
    std::uint8_t classification = 0;
    std::uint16_t pointSource = 0;
    std::array<std::uint16_t, 3> color{};
    double time = 0.0;
    std::uint8_t channel = 0;  ///< 0 to 3, of layered points: each has a state of its own
};

struct LazOptions
{
    unsigned pointFormat = 3;       ///< 0 to 3 or 6 to 8
    std::uint16_t itemVersion = 3;  ///< 3 or 4, of layered points
    std::size_t extraBytes = 0;
    std::uint32_t chunkSize = 50000;
    std::array<double, 3> scale{1, 1, 1};
    std::array<double, 3> offset{100, 200, 300};
    std::size_t recordBefore = 0;  ///< bytes of another variable length record before LASzip's
};

/// A compressed LAS file: version 1.2, of layered points 1.4. Its points come from the LASzip library's
/// encoder.
std::string lazEncoded(std::span<const LazPoint> points, const LazOptions& options = {});

/// Where a file of lazEncoded() has the data of LASzip's record.
std::size_t laszipRecordPosition(const LazOptions& options);

/// Where it has the position of the chunk table, in front of the first chunk.
std::size_t pointsPosition(const LazOptions& options);
