#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

/// A number of a file, as it lies in memory.
template <class T>
T numberAt(const std::string& bytes, std::size_t position)
{
    T value;
    std::memcpy(&value, bytes.substr(position, sizeof value).data(), sizeof value);
    return value;
}

/// A point of format 6 or 7 as LAS files have it.
struct LasRecord
{
    std::array<std::int32_t, 3> position{};
    std::uint16_t intensity = 0;
    std::uint8_t returns = 0;  ///< number in the lower four bits, count in the upper ones
    std::uint8_t classification = 0;
    std::uint8_t userData = 0;
    std::int16_t scanAngle = 0;
    std::uint16_t source = 0;
    double time = 0.0;
    std::array<std::uint16_t, 3> color{};

    friend auto operator<=>(const LasRecord&, const LasRecord&) = default;
};

/// All points of a LAS 1.4 file: compressed ones by the reader class of the LASzip library, others byte by byte.
std::vector<LasRecord> lasRecords(const std::string& bytes);

/// The data of a variable length record, empty when there is none of that author and number.
std::string lasVariableRecord(const std::string& bytes, const std::string& author, unsigned number);
