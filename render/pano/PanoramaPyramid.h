#pragma once

#include "graphics/PanoramaLoader.h"
#include "render/gpu/ShaderResourceView.h"
#include "render/gpu/Texture2d.h"
#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Render
{
/// The textures of all levels of a panorama's colour or depth, filled tile by tile.
///
/// Threads  the thread of the immediate context; not locked.
/// @tparam Image  Graphics::ColorImage or Graphics::DepthImage
template <class Image>
class PanoramaPyramid
{
public:
    /// Without levels.
    PanoramaPyramid() = default;

    /// Every level starts as if nothing had been measured there: white, or as far as can be. A pyramid of no
    /// levels gets one such texel to show.
    /// @throws ComException  when a texture or view cannot be created
    PanoramaPyramid(
        const CComPtr<ID3D11Device>& device, const Graphics::PanoramaLoader& loader, std::uint64_t levelCount
    );

    /// Copies a tile to its place.
    /// @param tile  of one of the levels, and whole
    /// @throws ComException  when the texture that it is written to cannot be mapped
    void upload(
        ID3D11DeviceContext* context,
        const Graphics::PanoramaLoader& loader,
        const Graphics::PanoramaLoader::TileIndex& tile,
        const Image& image
    );

    ShaderResourceView& view(std::uint64_t level) { return mLevels.at(static_cast<std::size_t>(level)).view; }

private:
    struct Level
    {
        Texture2d texture;
        ShaderResourceView view;
        Texture2d uploadTexture;  // as large as a tile; tiles go through it
    };

    std::vector<Level> mLevels;
};

extern template class PanoramaPyramid<Graphics::ColorImage>;
extern template class PanoramaPyramid<Graphics::DepthImage>;
}  // namespace Render
