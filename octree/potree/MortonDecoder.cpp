#include "octree/potree/MortonDecoder.h"

#include "octree/potree/MortonTriple.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace PoTree
{
namespace
{
std::uint64_t codeAt(const std::byte* codes, std::size_t i) noexcept
{
    std::uint64_t code;
    std::memcpy(&code, codes + i * sizeof code, sizeof code);
    return code;
}

double toCoordinate(double stored, double scale, double shift, double unitScale) noexcept
{
    return (stored * scale + shift) * unitScale;
}

void decodePositions(
    const std::byte* codes,
    std::size_t count,
    const PointConversion& conversion,
    double* x,
    double* y,
    double* z
)
{
    const auto& [scale, shift, unitScale, wideColors] = conversion;
    std::uint64_t lastUpper = 0;
    MortonTriple upper(0);
    for (std::size_t i = 0; i < count; ++i)
    {
        const std::uint64_t upperCode = codeAt(codes, 2 * i);
        if (upperCode != lastUpper)  // seldom: points are sorted by it
        {
            lastUpper = upperCode;
            upper = MortonTriple(upperCode);
        }
        const MortonTriple lower(codeAt(codes, 2 * i + 1));
        x[i] = toCoordinate(upper.first() << 16U | lower.first(), scale.x, shift.x, unitScale);
        y[i] = toCoordinate(upper.second() << 16U | lower.second(), scale.y, shift.y, unitScale);
        z[i] = toCoordinate(upper.third() << 16U | lower.third(), scale.z, shift.z, unitScale);
    }
}

void decodeColors(const std::byte* codes, std::size_t count, bool wide, Math::Color* out)
{
    const auto toByte = [wide](std::uint32_t channel)
    { return static_cast<unsigned char>(wide ? channel >> 8U : std::min(channel, 255U)); };
    for (std::size_t i = 0; i < count; ++i)
    {
        const MortonTriple rgb(codeAt(codes, i));
        out[i].set(toByte(rgb.first()), toByte(rgb.second()), toByte(rgb.third()), 255);
    }
}
}  // namespace

const MortonDecoder& MortonDecoder::plain() noexcept
{
    static constexpr MortonDecoder kPlain{&decodePositions, &decodeColors};
    return kPlain;
}

const MortonDecoder& MortonDecoder::best() noexcept
{
    static const MortonDecoder& best = avx2() != nullptr ? *avx2() : plain();
    return best;
}
}  // namespace PoTree
