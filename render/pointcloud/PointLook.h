#pragma once

#include "math/Color.h"
#include "render/Export.h"

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Render
{
/// What decides the colours of a cloud's points; the numbers are those that the shaders read.
enum class PointColoring : std::uint32_t
{
    Stored = 0,          ///< their own colours
    Intensity = 1,       ///< the 8 bits that their vertices have for it
    Classification = 2,  ///< their class
    ScanIndex = 3,       ///< the lower 8 bits of their scan index
};

/// What the points of a cloud are coloured by, and which of them are hidden by what they are. A point is shown
/// when its class, its intensity and its scan index all are.
///
/// Threads  a plain value.
struct RENDER_API PointLook
{
    PointColoring coloring = PointColoring::Stored;  ///< by what points are coloured
    std::array<Math::Color, 256> colors{};           ///< of all values of what is coloured by

    std::bitset<256> shownClasses = std::bitset<256>().set();  ///< by number
    std::uint8_t leastIntensity = 0;                           ///< of the 8 bits that vertices have
    std::uint8_t greatestIntensity = 255;                      ///< likewise
    bool showsListedScans = false;             ///< whether listed scans are all that are shown, or hidden
    std::vector<std::uint16_t> listedScans{};  ///< scan indices

    /// Whether every point is shown.
    bool hidesNothing() const noexcept;

    /// Whether it changes nothing at all.
    bool isPlain() const noexcept { return coloring == PointColoring::Stored && hidesNothing(); }

    friend bool operator==(const PointLook&, const PointLook&) = default;
};

/// A look as the splat shaders read it.
struct PointLookData
{
    std::array<std::uint32_t, 256> colors{};  ///< 0xAARRGGBB
    std::array<std::uint32_t, 8> classes{};   ///< a bit each: whether it is shown
    std::uint32_t leastIntensity = 0;         ///< that is shown
    std::uint32_t greatestIntensity = 255;    ///< that is shown
    std::array<std::uint32_t, 2048> scans{};  ///< a bit each: whether it is shown
};

static_assert(sizeof(PointLookData) == 4 * 2314);
static_assert(offsetof(PointLookData, classes) == 4 * 256);
static_assert(offsetof(PointLookData, leastIntensity) == 4 * 264);
static_assert(offsetof(PointLookData, scans) == 4 * 266);

/// The look as the shaders read it.
RENDER_API PointLookData dataOf(const PointLook& look);
}  // namespace Render
