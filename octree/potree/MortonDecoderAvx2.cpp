#include "core/processorFeatures.h"
#include "octree/potree/MortonDecoder.h"

#ifdef TARNEL_X86_VARIANTS

#include <immintrin.h>

#define TARNEL_AVX2 __attribute__((target("avx2")))
#define TARNEL_AVX2_INLINE __attribute__((target("avx2"), always_inline)) inline

namespace PoTree
{
namespace
{
constexpr std::size_t kLanes = 4;

/// Three numbers for each of four codes.
struct Triples
{
    __m256i first;
    __m256i second;
    __m256i third;
};

TARNEL_AVX2_INLINE __m256i masked(__m256i value, long long mask)
{
    return _mm256_and_si256(value, _mm256_set1_epi64x(mask));
}

template <int bits>
TARNEL_AVX2_INLINE __m256i foldedBy(__m256i value, long long mask)
{
    return masked(_mm256_or_si256(value, _mm256_srli_epi64(value, bits)), mask);
}

/// Bits 0, 3, 6, ... 21 of each code, one beside the other.
TARNEL_AVX2_INLINE __m256i everyThirdOf24(__m256i code)
{
    const __m256i single = masked(code, 0x249249);
    const __m256i pairs = foldedBy<2>(single, 0x0c30c3);
    const __m256i fours = foldedBy<4>(pairs, 0x00f00f);
    return foldedBy<8>(fours, 0xff);
}

/// Bits 0, 3, 6, ... 45.
TARNEL_AVX2_INLINE __m256i everyThirdOf48(__m256i code)
{
    const __m256i single = masked(code, 0x249249249249);
    const __m256i pairs = foldedBy<2>(single, 0x0c30c30c30c3);
    const __m256i fours = foldedBy<4>(pairs, 0x00f00f00f00f);
    const __m256i eights = foldedBy<8>(fours, 0x0000ff0000ff);
    return foldedBy<16>(eights, 0xffff);
}

TARNEL_AVX2_INLINE Triples triplesOf(__m256i codes)
{
    return {
        everyThirdOf48(codes),
        everyThirdOf48(_mm256_srli_epi64(codes, 1)),
        everyThirdOf48(_mm256_srli_epi64(codes, 2))};
}

/// Of numbers below 2^32, exactly: as the low bits of a number whose last place is worth 1.
TARNEL_AVX2_INLINE __m256d toDouble(__m256i value)
{
    const __m256i twoTo52 = _mm256_set1_epi64x(0x4330000000000000);
    return _mm256_sub_pd(_mm256_castsi256_pd(_mm256_or_si256(value, twoTo52)), _mm256_castsi256_pd(twoTo52));
}

TARNEL_AVX2_INLINE void storeCoordinates(
    double* out, __m256i upper, __m256i lower, double scale, double shift, double unitScale
)
{
    const __m256d stored = toDouble(_mm256_or_si256(_mm256_slli_epi64(upper, 16), lower));
    const __m256d scaled = _mm256_mul_pd(stored, _mm256_set1_pd(scale));
    const __m256d shifted = _mm256_add_pd(scaled, _mm256_set1_pd(shift));
    _mm256_storeu_pd(out, _mm256_mul_pd(shifted, _mm256_set1_pd(unitScale)));
}

TARNEL_AVX2_INLINE __m256i loadCodes(const std::byte* at)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
}

TARNEL_AVX2 void decodePositions(
    const std::byte* codes,
    std::size_t count,
    const PointConversion& conversion,
    double* x,
    double* y,
    double* z
)
{
    const auto& [scale, shift, unitScale, wideColors] = conversion;
    const std::size_t wholeCount = count / kLanes * kLanes;
    constexpr int kInOrder = 0xD8;    // of 0, 2, 1, 3
    constexpr int kLastInAll = 0xFF;  // the last of four in all lanes
    __m256i lastUpper = _mm256_setzero_si256();
    Triples upper{lastUpper, lastUpper, lastUpper};
    for (std::size_t i = 0; i < wholeCount; i += kLanes)
    {
        const __m256i pair = loadCodes(codes + 16 * i);
        const __m256i nextPair = loadCodes(codes + 16 * i + 32);
        const __m256i upperCodes = _mm256_permute4x64_epi64(_mm256_unpacklo_epi64(pair, nextPair), kInOrder);
        const __m256i lowerCodes = _mm256_permute4x64_epi64(_mm256_unpackhi_epi64(pair, nextPair), kInOrder);
        const Triples lower = triplesOf(lowerCodes);
        if (_mm256_movemask_epi8(_mm256_cmpeq_epi64(upperCodes, lastUpper)) != -1)
        {
            upper = triplesOf(upperCodes);
        }
        storeCoordinates(x + i, upper.first, lower.first, scale.x, shift.x, unitScale);
        storeCoordinates(y + i, upper.second, lower.second, scale.y, shift.y, unitScale);
        storeCoordinates(z + i, upper.third, lower.third, scale.z, shift.z, unitScale);

        lastUpper = _mm256_permute4x64_epi64(upperCodes, kLastInAll);
        upper = {
            _mm256_permute4x64_epi64(upper.first, kLastInAll),
            _mm256_permute4x64_epi64(upper.second, kLastInAll),
            _mm256_permute4x64_epi64(upper.third, kLastInAll)};
    }
    MortonDecoder::plain().positions(
        codes + 16 * wholeCount,
        count - wholeCount,
        conversion,
        x + wholeCount,
        y + wholeCount,
        z + wholeCount
    );
}

/// The high bytes of 16-bit channels.
TARNEL_AVX2_INLINE Triples highBytes(__m256i codes)
{
    const __m256i upper = _mm256_srli_epi64(codes, 24);
    return {
        everyThirdOf24(upper),
        everyThirdOf24(_mm256_srli_epi64(upper, 1)),
        everyThirdOf24(_mm256_srli_epi64(upper, 2))};
}

/// Channels that have 8 bits; what is beyond is cut off.
TARNEL_AVX2_INLINE Triples cutToBytes(__m256i codes)
{
    const Triples channels = triplesOf(codes);
    const __m256i most = _mm256_set1_epi64x(255);
    return {
        _mm256_min_epu32(channels.first, most),
        _mm256_min_epu32(channels.second, most),
        _mm256_min_epu32(channels.third, most)};
}

TARNEL_AVX2 void decodeColors(const std::byte* codes, std::size_t count, bool wide, Math::Color* out)
{
    static_assert(sizeof(Math::Color) == 4, "blue, green, red, alpha");
    const std::size_t wholeCount = count / kLanes * kLanes;
    const __m256i opaque = _mm256_set1_epi64x(0xFF000000);
    const __m256i lowHalves = _mm256_setr_epi32(0, 2, 4, 6, 0, 2, 4, 6);
    for (std::size_t i = 0; i < wholeCount; i += kLanes)
    {
        const __m256i fourCodes = loadCodes(codes + 8 * i);
        const Triples rgb = wide ? highBytes(fourCodes) : cutToBytes(fourCodes);
        const __m256i redGreen =
            _mm256_or_si256(_mm256_slli_epi64(rgb.first, 16), _mm256_slli_epi64(rgb.second, 8));
        const __m256i packed = _mm256_or_si256(_mm256_or_si256(redGreen, rgb.third), opaque);
        _mm_storeu_si128(
            reinterpret_cast<__m128i*>(out + i),
            _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(packed, lowHalves))
        );
    }
    MortonDecoder::plain().colors(codes + 8 * wholeCount, count - wholeCount, wide, out + wholeCount);
}
}  // namespace

const MortonDecoder* MortonDecoder::avx2() noexcept
{
    static constexpr MortonDecoder kAvx2{&decodePositions, &decodeColors};
    return Core::hasAvx2() ? &kAvx2 : nullptr;
}
}  // namespace PoTree

#else

namespace PoTree
{
const MortonDecoder* MortonDecoder::avx2() noexcept
{
    return nullptr;
}
}  // namespace PoTree

#endif
