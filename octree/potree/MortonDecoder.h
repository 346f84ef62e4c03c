#pragma once

#include "math/Color.h"
#include "octree/Export.h"
#include "octree/potree/PointConversion.h"

#include <cstddef>

namespace PoTree
{
/// The functions that take Morton codes apart, in one variant. All variants give the same bits.
struct MortonDecoder
{
    /// Codes of 16 bytes, the upper 16 bits of each coordinate first, become (integer x scale + shift) x unit
    /// scale.
    void (*positions
    )(const std::byte* codes,
      std::size_t count,
      const PointConversion& conversion,
      double* x,
      double* y,
      double* z);

    /// Codes of 8 bytes become opaque colours: of 16-bit channels the high byte, narrow ones cut off at 255.
    void (*colors)(const std::byte* codes, std::size_t count, bool wide, Math::Color* out);

    /// The variant for every processor.
    OCTREE_API static const MortonDecoder& plain() noexcept;

    /// Four codes at a time; null where processor or compiler lack AVX2. Measured twice as fast.
    OCTREE_API static const MortonDecoder* avx2() noexcept;

    /// The fastest variant that runs here.
    static const MortonDecoder& best() noexcept;
};
}  // namespace PoTree
