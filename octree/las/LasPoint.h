#pragma once

#include <array>
#include <cstdint>

namespace Las
{
/// A point of formats 6 to 8 as files have it.
struct LasPoint
{
    std::array<std::int32_t, 3> position{};  ///< coordinate = integer x scale + offset of the file
    std::uint16_t intensity = 0;             ///< as it is
    std::uint8_t returnNumber = 1;           ///< 0 to 15
    std::uint8_t returnCount = 1;            ///< 0 to 15, returns of the pulse
    std::uint8_t classification = 0;         ///< as it is
    std::uint8_t userData = 0;               ///< as it is
    std::int16_t scanAngle = 0;              ///< in steps of 0.006 degrees
    std::uint16_t pointSource = 0;           ///< as it is
    double time = 0.0;                       ///< GPS time
    std::array<std::uint16_t, 4> color{};    ///< red, green, blue, infrared; as many as the format has
};
}  // namespace Las
