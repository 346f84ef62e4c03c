#pragma once

#include "render/gpu/ConstantBlock.h"
#include "render/gpu/PixelShader.h"
#include "render/gpu/VertexShader.h"
#include "render/renderer/EyeDomeConstants.h"
#include "render/renderer/EyeDomeLighting.h"
#include "render/renderer/ScreenPass.h"

namespace Render
{
/// Eye-dome lighting of the picture, by the depth of the scene: a pixel is darkened by how far its eight
/// neighbours stand before it. The method is Christian Boucheny's, "Visualisation scientifique de grands
/// volumes de données: pour une approche perceptive", thesis, Université de Grenoble, 2009; here with one ring
/// of neighbours and depths relative to the distance.
///
/// A pixel keeps exp(-100 strength m) of its light, with m the mean over the neighbours of max(0, s): of a
/// perspective s = ln(own distance / neighbour's distance) / (2 tan(half the field of view)), of a parallel
/// projection s = (own - neighbour's distance) / height. Neighbours without content, or outside the picture,
/// count as 0. What shows no depth, as see-through scenes, stays as it is.
class EyeDomePass final : public ScreenPass
{
public:
    /// @throws ComException  when the device refuses a texture, state, buffer or shader
    EyeDomePass(const CComPtr<ID3D11Device>& device, const Camera& camera);

    /// From the next frame on; of no strength at first.
    void setLighting(const EyeDomeLighting& lighting) noexcept { mLighting = lighting; }

private:
    void drawPixels(const FrameInput& input) override;

    EyeDomeLighting mLighting;
    ConstantBlock<EyeDomeConstants> mConstants;
    VertexShader mVertexShader;
    PixelShader mPixelShader;
};
}  // namespace Render
