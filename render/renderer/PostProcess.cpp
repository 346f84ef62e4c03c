#include "render/renderer/PostProcess.h"

#include "render/scene/Viewport.h"

#include <stdexcept>
#include <string>

namespace Render
{
namespace
{
const std::string kSource = "shaders/postprocessing.hlsl";

/// Index of the pixel shader that serves a mode.
enum PixelShaderIndex : std::size_t
{
    AllModes,  ///< the last resort: numbers that name no mode
    ColorModes,
    TomographicModes,
    NormalMode,
    DistanceMode,
};

PixelShaderIndex pixelShaderFor(RenderMode renderMode)
{
    switch (renderMode)
    {
        case RenderMode::Default:
        case RenderMode::ColorizeByIntensity:
        case RenderMode::UniformColor:
            return ColorModes;
        case RenderMode::TomographicDark:
        case RenderMode::TomographicBright:
            return TomographicModes;
        case RenderMode::ColorizeByNormal:
            return NormalMode;
        case RenderMode::ColorizeByPlaneDistance:
            return DistanceMode;
    }
    return AllModes;
}

std::array<float, 4> homogeneous(const Math::Point<float, 3>& point)
{
    return {point.x, point.y, point.z, 1.0F};
}
}  // namespace

PostProcess::PostProcess(const CComPtr<ID3D11Device>& device)
    : mConstants(device),
      mVertexShader(VertexShader::fromHlslResource(device, kSource, {})),
      mPixelShaders{
          PixelShader::fromHlslResource(device, kSource),
          PixelShader::fromHlslResource(device, "shaders/postcolor.hlsl"),
          PixelShader::fromHlslResource(device, "shaders/posttomographic.hlsl"),
          PixelShader::fromHlslResource(device, "shaders/postnormal.hlsl"),
          PixelShader::fromHlslResource(device, "shaders/postdistance.hlsl"),
      }
{
}

void PostProcess::setViewport(const Viewport& viewport)
{
    PostProcessConstants& constants = mConstants.edit();
    constants.width = static_cast<float>(viewport.width());
    constants.height = static_cast<float>(viewport.height());
}

void PostProcess::setBrightness(float brightness)
{
    mConstants.edit().brightness = brightness;
}

float PostProcess::brightness() const noexcept
{
    return constants().brightness;
}

void PostProcess::setContrast(float contrast)
{
    mConstants.edit().contrast = contrast;
}

float PostProcess::contrast() const noexcept
{
    return constants().contrast;
}

void PostProcess::setOpacity(float opacity)
{
    mConstants.edit().opacity = opacity;
}

float PostProcess::opacity() const noexcept
{
    return constants().opacity;
}

void PostProcess::setBackgroundColor(const Math::Color& color)
{
    const auto unit = [](unsigned char channel) { return static_cast<float>(channel / 255.0); };
    mConstants.edit().bg_color = {unit(color.r()), unit(color.g()), unit(color.b()), unit(color.a())};
}

void PostProcess::setRenderMode(RenderMode renderMode)
{
    mConstants.edit().point_render_mode = static_cast<int>(renderMode);
}

RenderMode PostProcess::renderMode() const noexcept
{
    return static_cast<RenderMode>(constants().point_render_mode);
}

void PostProcess::setColorMap(ColorMap colorMap)
{
    mConstants.edit().color_map = static_cast<int>(colorMap);
}

ColorMap PostProcess::colormap() const noexcept
{
    return static_cast<ColorMap>(constants().color_map);
}

void PostProcess::setColorizationRange(const Math::Point<float, 3>& start, const Math::Point<float, 3>& end)
{
    PostProcessConstants& constants = mConstants.edit();
    constants.colorization_start = homogeneous(start);
    constants.colorization_end = homogeneous(end);
}

void PostProcess::draw(ID3D11DeviceContext* context)
{
    constexpr UINT kCorners = 4;
    const PixelShader& pixelShader = mPixelShaders[pixelShaderFor(renderMode())];
    mVertexShader.begin(context);
    pixelShader.begin(context);
    if (mIsCutShort)
    {
        throw std::logic_error("Error: end call is missing");
    }
    mIsCutShort = true;
    mConstants.begin(context, ShaderConfiguration::Pixel, 0);

    context->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP);
    context->DrawInstanced(kCorners, 1, 0, 0);

    mVertexShader.end(context);
    pixelShader.end(context);
    mConstants.end(context);
    mIsCutShort = false;
}
}  // namespace Render
