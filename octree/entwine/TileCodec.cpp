#include "octree/entwine/TileCodec.h"

#include "octree/entwine/BinaryCodec.h"
#include "octree/entwine/LaszipCodec.h"
#include "octree/entwine/ZstandardCodec.h"

#include <array>

namespace Entwine
{
std::span<const TileCodec* const> tileCodecs() noexcept
{
    static const BinaryCodec binary;
    static const ZstandardCodec zstandard;
    static const LaszipCodec laszip;
    static const std::array<const TileCodec*, 3> codecs{&binary, &zstandard, &laszip};
    return codecs;
}

const TileCodec& tileCodec(DataType dataType) noexcept
{
    return *tileCodecs()[static_cast<std::size_t>(dataType)];
}
}  // namespace Entwine
