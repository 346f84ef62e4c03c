#pragma once

#include "math/Color.h"
#include "math/Point.h"
#include "render/Export.h"
#include "render/Render.h"
#include "render/gpu/ConstantBlock.h"
#include "render/gpu/PixelShader.h"
#include "render/gpu/VertexShader.h"
#include "render/renderer/ColorMap.h"
#include "render/renderer/PostProcessConstants.h"
#include "render/scene/RenderMode.h"
#include "render/scene/Viewport.h"

#include <array>

namespace Render
{
/// The full-screen pass that turns the scene pass's targets into the picture: render mode, colour map,
/// brightness, contrast, opacity.
///
/// draw expects the scene's "color", "worldPosition" and "exactWorldPosition" at pixel shader slots 0, 1 and
/// 2, a pass of two targets (picture, world position) of the size given to setViewport, and a viewport over
/// all of it. Pixels whose world position has w = 0 show no point and keep their colour. No setter checks its
/// value.
/// Threads  rendering thread only, not locked.
class RENDER_API PostProcess
{
public:
    /// Holds the settings alone; it must not be drawn.
    PostProcess() = default;

    /// @throws ComException  when the device refuses the constant buffer or a shader
    explicit PostProcess(const CComPtr<ID3D11Device>& device);

    PostProcess(const PostProcess&) = delete;
    PostProcess& operator=(const PostProcess&) = delete;
    PostProcess(PostProcess&&) noexcept = default;
    PostProcess& operator=(PostProcess&&) noexcept = default;
    ~PostProcess() = default;

    /// Takes the size of the drawing area, in pixels.
    void setViewport(const Viewport& viewport);

    /// Added to each channel (0..1) before the contrast; 0 changes nothing.
    void setBrightness(float brightness);
    float brightness() const noexcept;

    /// Stretches each channel about its middle, 0.5; 1 changes nothing.
    void setContrast(float contrast);
    float contrast() const noexcept;

    /// Factor of the picture's alpha.
    void setOpacity(float opacity);
    float opacity() const noexcept;

    /// Stored for completeness: what shows behind the points is the clear colour of the scene pass.
    void setBackgroundColor(const Math::Color& color);

    /// How the picture is coloured.
    void setRenderMode(RenderMode renderMode);
    RenderMode renderMode() const noexcept;

    /// The colours of RenderMode::ColorizeByPlaneDistance.
    void setColorMap(ColorMap colorMap);
    ColorMap colormap() const noexcept;

    /// The line, in world coordinates, along which RenderMode::ColorizeByPlaneDistance runs through the
    /// colour map.
    /// @param start, end  where the map begins and ends; they must differ for a meaningful picture
    void setColorizationRange(const Math::Point<float, 3>& start, const Math::Point<float, 3>& end);

    /// Uploads changed settings and draws; unbinds what it has bound.
    /// @throws ComException      when the constants cannot be uploaded; on purpose they then count as bound
    /// @throws std::logic_error  "Error: end call is missing" when they count as bound from such a failure
    void draw(ID3D11DeviceContext* context);

    /// Lets draw begin anew after a failure, in a context where nothing of it is bound any more. Harmless
    /// else.
    void recover() noexcept { mIsCutShort = false; }

    /// The settings as they are uploaded.
    const PostProcessConstants& constants() const noexcept { return mConstants.values(); }

    /// Whether the next draw uploads them.
    bool isDirty() const noexcept { return mConstants.isDirty(); }

private:
    ConstantBlock<PostProcessConstants> mConstants;
    VertexShader mVertexShader;
    std::array<PixelShader, 5> mPixelShaders;  // by the modes that they serve, see PostProcess.cpp
    bool mIsCutShort = false;                  // a draw has begun and not ended
};
}  // namespace Render
