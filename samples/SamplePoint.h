#pragma once

#include <cstdint>

namespace Samples
{
/// One point of a cloud that is to be written.
///
/// Frame    absolute coordinates, usually projected ones (easting, northing, height in metres).
struct SamplePoint
{
    double x = 0;
    double y = 0;
    double z = 0;
    std::uint16_t r = 0;  ///< 16-bit channels; clouds with 8-bit colours hold 0 to 255 in them
    std::uint16_t g = 0;
    std::uint16_t b = 0;
    std::uint16_t intensity = 0;
    std::uint8_t classification = 0;  ///< LAS codes: 2 ground, 3 to 5 vegetation, 6 building, 9 water, ...
    std::uint32_t scanIndex = 0;
    float nx = 0;  ///< unit normal
    float ny = 0;
    float nz = 1;
    std::uint8_t visibility = 0;  ///< 0 visible, anything else hidden
};
}  // namespace Samples
