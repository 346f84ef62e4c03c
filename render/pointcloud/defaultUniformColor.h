#pragma once

#include "math/Color.h"
#include "render/Export.h"

#include <cstddef>

namespace Render
{
/// A fully saturated, opaque colour for a data set: the same for the same data set, on every platform.
///
/// Threads  any.
/// Source   the hue is drawn by the 32-bit Mersenne Twister: M. Matsumoto, T. Nishimura (1998).
/// @param locationHash  hash of the data set's location, of which the low 32 bits are the seed
RENDER_API Math::Color defaultUniformColor(std::size_t locationHash) noexcept;
}  // namespace Render
