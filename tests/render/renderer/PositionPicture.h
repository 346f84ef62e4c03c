#pragma once

#include "math/Point.h"
#include "render/renderer/MappedImage.h"

#include <array>
#include <cstdint>
#include <vector>

namespace Render
{
/// A picture of positions in memory, without hits at first; its rows have padding.
class PositionPicture
{
public:
    PositionPicture(std::uint64_t width, std::uint64_t height)
        : mPitch(width + 1), mTexels(mPitch * height, Texel{})
    {
    }

    void set(std::uint64_t x, std::uint64_t y, const Math::Point<float, 3>& position, float w = 1.0F)
    {
        mTexels[y * mPitch + x] = {position.x, position.y, position.z, w};
    }

    MappedImage image() const
    {
        return {
            reinterpret_cast<const std::byte*>(mTexels.data()),
            mPitch * sizeof(Texel),
            mTexels.size() * sizeof(Texel),
        };
    }

private:
    using Texel = std::array<float, 4>;

    std::uint64_t mPitch;  // in texels
    std::vector<Texel> mTexels;
};
}  // namespace Render
