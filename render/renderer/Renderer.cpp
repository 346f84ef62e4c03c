#include "render/renderer/Renderer.h"

#include "graphics/ColorImage.h"
#include "graphics/DepthImage.h"
#include "render/gpu/createDevice.h"
#include "render/gpu/throwIfFailed.h"
#include "render/platform/Direct3D.h"
#include "render/renderer/Frame.h"
#include "render/renderer/Picking.h"
#include "render/renderer/PictureEffects.h"
#include "render/renderer/PointExport.h"
#include "render/renderer/PostProcess.h"
#include "render/renderer/ReadBack.h"
#include "render/renderer/View.h"
#include "render/renderer/ownerOfPixel.h"
#include "render/renderer/pointText.h"
#include "render/scene/Camera.h"
#include "render/scene/Renderable.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

namespace Render
{
namespace
{
/// Sizes that do not fit become the largest number, which no device accepts.
unsigned int textureSize(std::uint64_t size)
{
    return static_cast<unsigned int>(std::min<std::uint64_t>(size, std::numeric_limits<unsigned int>::max()));
}

Device deviceOf(const RendererOptions& options)
{
    if (options.device == nullptr)
    {
        return createDevice(options.debugLayer ? DebugLayer::On : DebugLayer::Off);
    }
    if (options.debugLayer)
    {
        throw std::invalid_argument("a device that is there already cannot be given the debug layer");
    }
    return adoptDevice(options.device);
}

bool isOfPictureFormat(DXGI_FORMAT format)
{
    return format == DXGI_FORMAT_B8G8R8A8_UNORM || format == DXGI_FORMAT_B8G8R8A8_UNORM_SRGB ||
           format == DXGI_FORMAT_B8G8R8A8_TYPELESS;
}

CComPtr<ID3D11Device> deviceOf(ID3D11DeviceChild& child)
{
    CComPtr<ID3D11Device> device;
    child.GetDevice(device.put());
    return device;
}
}  // namespace

Renderer::Renderer() : Renderer(true) {}

Renderer::Renderer(bool reversedZ) : Renderer(reversedZ, createDevice()) {}

Renderer::Renderer(const RendererOptions& options) : Renderer(options.reversedZ, deviceOf(options))
{
    mIsDeviceShared = options.device != nullptr;
}

Renderer::Renderer(bool reversedZ, Device device)
    : mDevice(std::move(device.device)),
      mDeviceContext(std::move(device.context)),
      mView(std::make_unique<View>(reversedZ)),
      mPostProcess(std::make_unique<PostProcess>()),
      mPointExport(std::make_unique<PointExport>()),
      mEffects(std::make_unique<PictureEffects>())
{
    setOrthographic(2.0F, 2.0F, -1.0F, 1.0F);
    setBackgroundColor(255, 255, 255, 255);
    mFrame = std::make_unique<Frame>(mDevice, *camera(), id());
    mReadBack = std::make_unique<ReadBack>(
        mDevice, textureSize(viewport().width()), textureSize(viewport().height())
    );
    *mPostProcess = PostProcess(mDevice);
}

Renderer::~Renderer() = default;

const CComPtr<ID3D11Device>& Renderer::device() const noexcept
{
    return mDevice;
}

const CComPtr<ID3D11DeviceContext>& Renderer::deviceContext() const noexcept
{
    return mDeviceContext;
}

void Renderer::setScene(std::shared_ptr<Renderable> scene)
{
    mView->setScene(std::move(scene), id(), mDevice, mDeviceContext);
}

std::shared_ptr<Renderable>& Renderer::scene() noexcept
{
    return mView->scene();
}

const std::shared_ptr<Renderable>& Renderer::scene() const noexcept
{
    return std::as_const(*mView).scene();
}

Math::NBoundingBox<float, 3> Renderer::boundingBox() const
{
    return mView->boundingBox();
}

void Renderer::setModelMatrix(const Eigen::Matrix4f& modelMatrix)
{
    mView->setModelMatrix(modelMatrix);
}

Eigen::Matrix4f Renderer::modelViewProjectionMatrix() const
{
    return camera()->viewProjectionMatrix() * mView->modelMatrix();
}

bool Renderer::needsRedraw() const
{
    return mView->needsRedraw();
}

std::shared_ptr<Camera>& Renderer::camera() noexcept
{
    return mView->camera();
}

const std::shared_ptr<Camera>& Renderer::camera() const noexcept
{
    return std::as_const(*mView).camera();
}

void Renderer::setViewMatrix(const Eigen::Matrix4f& viewMatrix)
{
    mView->setViewMatrix(viewMatrix);
}

void Renderer::setCameraPose(
    const Math::Point<float, 3>& eye, const Eigen::Vector3f& direction, const Eigen::Vector3f& up
)
{
    mView->setCameraPose(eye, direction, up);
}

void Renderer::setCameraPose(
    const Math::Point<float, 3>& eye, const Math::Point<float, 3>& target, const Eigen::Vector3f& up
)
{
    mView->setCameraPose(eye, target, up);
}

void Renderer::setPerspective(float fovYDeg, float zNear, float zFar, float offCenterX, float offCenterY)
{
    mView->setPerspective(fovYDeg, zNear, zFar, offCenterX, offCenterY);
}

void Renderer::setPerspectiveOffCenter(
    float left, float right, float bottom, float top, float zNear, float zFar, bool reversed
)
{
    mView->setPerspectiveOffCenter(left, right, bottom, top, zNear, zFar, reversed);
}

void Renderer::setOrthographic(float width, float height, float zNear, float zFar)
{
    mView->setOrthographic(width, height, zNear, zFar);
}

void Renderer::setOrthographic(float height, float zNear, float zFar)
{
    mView->setOrthographic(height, zNear, zFar);
}

void Renderer::setProjection(const Eigen::Matrix4f& projection, float minDepth, float maxDepth, bool reversed)
{
    if (!(minDepth >= 0.0F && minDepth <= maxDepth && maxDepth <= 1.0F))
    {
        throw std::invalid_argument("Error: a depth range must lie in 0..1, its minimum not above its maximum"
        );
    }
    mView->setProjection(projection, minDepth, maxDepth, reversed);
}

void Renderer::setZNearAndFarViaBoundingBox(const Math::NBoundingBox<float, 3>& box)
{
    mView->setZNearAndFarViaBoundingBox(box);
}

void Renderer::setAutoAdjustZRange(bool enabled)
{
    mView->setAutoAdjustZRange(enabled);
}

bool Renderer::autoAdjustZRangeEnabled() const noexcept
{
    return mView->autoAdjustZRangeEnabled();
}

const Eigen::Matrix4f& Renderer::viewMatrix() const noexcept
{
    return camera()->viewMatrix();
}

const Eigen::Matrix4f& Renderer::projectionMatrix() const noexcept
{
    return camera()->projectionMatrix();
}

bool Renderer::isOrthographic() const noexcept
{
    return camera()->isOrthographic();
}

bool Renderer::isPerspective() const noexcept
{
    return camera()->isPerspective();
}

Math::Point<float, 3> Renderer::eye() const
{
    return camera()->eye();
}

Eigen::Vector3f Renderer::rightDirection() const
{
    return camera()->rightDirection();
}

Eigen::Vector3f Renderer::upDirection() const
{
    return camera()->upDirection();
}

Eigen::Vector3f Renderer::viewDirection() const
{
    return camera()->viewDirection();
}

Math::Point<float, 3> Renderer::unProject(std::uint64_t x, std::uint64_t y, float depth) const
{
    return camera()->unProject(x, y, depth);
}

void Renderer::getZRange(float& zNear, float& zFar) const noexcept
{
    zNear = camera()->zNear();
    zFar = camera()->zFar();
}

void Renderer::setViewport(std::uint64_t width, std::uint64_t height)
{
    if (width == viewport().width() && height == viewport().height())
    {
        return;
    }
    Frame::Textures targets = mFrame->texturesOfSize(textureSize(width), textureSize(height));
    ReadBack readBack(mDevice, textureSize(width), textureSize(height));
    camera()->setViewport(width, height);
    mFrame->use(std::move(targets));
    *mReadBack = std::move(readBack);
    if (scene())
    {
        scene()->onUpdateViewport(camera());
    }
    mPostProcess->setViewport(viewport());
    raiseRedraw();
}

const Viewport& Renderer::viewport() const noexcept
{
    return std::as_const(*camera()).viewport();
}

double Renderer::aspectRatio() const noexcept
{
    return viewport().aspectRatio();
}

void Renderer::setBackgroundColor(unsigned char r, unsigned char g, unsigned char b, unsigned char a)
{
    setBackgroundColor(Math::Color(r, g, b, a));
}

void Renderer::setBackgroundColor(const Math::Color& color)
{
    if (color == mBackgroundColor)
    {
        return;
    }
    mBackgroundColor = color;
    mPostProcess->setBackgroundColor(color);
    raiseRedraw();
}

const Math::Color& Renderer::backgroundColor() const noexcept
{
    return mBackgroundColor;
}

void Renderer::setRenderMode(RenderMode renderMode)
{
    if (renderMode == mView->renderMode())
    {
        return;
    }
    mPostProcess->setRenderMode(renderMode);
    mView->setRenderMode(renderMode);
}

RenderMode Renderer::renderMode() const noexcept
{
    return mView->renderMode();
}

void Renderer::setColorizationRange(
    const Math::Point<float, 3>& min, const Math::Point<float, 3>& max, ColorMap colorMap
)
{
    mPostProcess->setColorizationRange(min, max);
    mPostProcess->setColorMap(colorMap);
    raiseRedraw();
}

void Renderer::setBrightness(float brightness)
{
    if (brightness == mPostProcess->brightness())
    {
        return;
    }
    mPostProcess->setBrightness(brightness);
    raiseRedraw();
}

float Renderer::brightness() const noexcept
{
    return mPostProcess->brightness();
}

void Renderer::setContrast(float contrast)
{
    if (contrast == mPostProcess->contrast())
    {
        return;
    }
    mPostProcess->setContrast(contrast);
    raiseRedraw();
}

float Renderer::contrast() const noexcept
{
    return mPostProcess->contrast();
}

void Renderer::setOpacity(float opacity)
{
    if (opacity == mPostProcess->opacity())
    {
        return;
    }
    mPostProcess->setOpacity(opacity);
    raiseRedraw();
}

float Renderer::opacity() const noexcept
{
    return mPostProcess->opacity();
}

void Renderer::autoAdjustBrightnessAndContrast(float quantile, float range)
{
    if (!scene())
    {
        return;
    }
    float brightness = 0.0F;
    float contrast = 1.0F;
    scene()->brightnessAndContrast(quantile, range, brightness, contrast);
    mPostProcess->setBrightness(brightness);
    mPostProcess->setContrast(contrast);
    raiseRedraw();
}

void Renderer::setTransparentBackground(bool enabled)
{
    if (enabled == mEffects->hasTransparentBackground)
    {
        return;
    }
    mEffects->hasTransparentBackground = enabled;
    raiseRedraw();
}

bool Renderer::hasTransparentBackground() const noexcept
{
    return mEffects->hasTransparentBackground;
}

void Renderer::setEyeDomeLighting(const EyeDomeLighting& lighting)
{
    for (const float value : {lighting.strength, lighting.radius})
    {
        if (!(value >= 0.0F && std::isfinite(value)))
        {
            throw std::invalid_argument(
                "Error: strength and radius of eye-dome lighting must be finite and not negative"
            );
        }
    }
    if (lighting == mEffects->eyeDomeLighting)
    {
        return;
    }
    mEffects->eyeDomeLighting = lighting;
    raiseRedraw();
}

const EyeDomeLighting& Renderer::eyeDomeLighting() const noexcept
{
    return mEffects->eyeDomeLighting;
}

void Renderer::render()
{
    try
    {
        if (mIsDeviceShared)
        {
            mDeviceContext->ClearState();  // of what the host has bound
        }
        mEffects->apply(*mFrame, mDevice, *camera());
        mFrame->draw(mDeviceContext, *mView, *mPostProcess, mBackgroundColor);
        mDeviceContext->Flush();  // the device begins, whenever the host may come back for the picture
        mReadBack->forget();
        throwIfLost(mDevice);
    }
    catch (...)
    {
        mReadBack->forget();
        raiseRedraw();  // what the scene has drawn of it counts as drawn there
        throw;
    }
    camera()->setNeedsRedraw(false);
    mPointExport->reset();
}

void Renderer::getColorImage(Graphics::ColorImage& image)
{
    const ReadBack::Mapped mapped = mReadBack->color(mDeviceContext, mFrame->picture().texture("color"));
    copyWhole(mapped.image(), viewport().width(), viewport().height(), image);
}

void Renderer::getColorImage(std::span<std::byte> data, std::uint64_t rowPitch, std::uint64_t rows)
{
    const ReadBack::Mapped mapped = mReadBack->color(mDeviceContext, mFrame->picture().texture("color"));
    copyRows(mapped.image(), viewport().height(), data, rowPitch, rows);
}

void Renderer::getDepthImage(Graphics::DepthImage& image)
{
    const ReadBack::Mapped mapped = mReadBack->depth(mDeviceContext, mFrame->scenePass().depthTexture());
    copyWhole(mapped.image(), viewport().width(), viewport().height(), image);
}

void Renderer::getDepthImage(std::span<std::byte> data, std::uint64_t rowPitch, std::uint64_t rows)
{
    const ReadBack::Mapped mapped = mReadBack->depth(mDeviceContext, mFrame->scenePass().depthTexture());
    copyRows(mapped.image(), viewport().height(), data, rowPitch, rows);
}

void Renderer::writePngImage(const std::filesystem::path& path)
{
    render();
    Graphics::ColorImage image;
    getColorImage(image);
    image.writePng(path);
}

ID3D11Texture2D* Renderer::outputTexture() const noexcept
{
    return mFrame->picture().texture("color").get();
}

ID3D11ShaderResourceView* Renderer::outputView() const noexcept
{
    return mFrame->picture().view("color");
}

void Renderer::copyOutputTo(ID3D11Texture2D* target)
{
    ID3D11Texture2D* const source = outputTexture();
    D3D11_TEXTURE2D_DESC is{};
    D3D11_TEXTURE2D_DESC expected{};
    source->GetDesc(&expected);
    if (target == nullptr || deviceOf(*target) != deviceOf(*source))
    {
        throw std::invalid_argument("the picture can be copied into a texture of the renderer's device only");
    }
    target->GetDesc(&is);
    if (is.Width != expected.Width || is.Height != expected.Height)
    {
        throw std::invalid_argument(
            "the picture has " + std::to_string(expected.Width) + " x " + std::to_string(expected.Height) +
            " pixels, the texture to copy it into " + std::to_string(is.Width) + " x " +
            std::to_string(is.Height)
        );
    }
    if (!isOfPictureFormat(is.Format) || is.SampleDesc.Count != 1)
    {
        throw std::invalid_argument(
            "the picture can be copied into textures of the formats DXGI_FORMAT_B8G8R8A8_... with one sample "
            "only"
        );
    }
    mDeviceContext->CopySubresourceRegion(target, 0, 0, 0, 0, source, 0, nullptr);
}

void Renderer::flush()
{
    mDeviceContext->Flush();
}

bool Renderer::pickPoint(std::uint64_t x, std::uint64_t y, Math::Point<float, 3>& point)
{
    return picking().pickPoint(x, y, point);
}

bool Renderer::pickClosestPointWithTolerance(
    std::uint64_t x, std::uint64_t y, std::uint64_t tolerance, Math::Point<float, 3>& point
)
{
    return picking().pickClosestPointWithTolerance(x, y, tolerance, point);
}

bool Renderer::pickPlane(
    std::uint64_t x,
    std::uint64_t y,
    std::uint64_t tolerance,
    Math::NPlane<float, 3>& plane,
    Math::Point<float, 3>& point,
    double threshold
)
{
    return picking().pickPlane(x, y, tolerance, plane, point, threshold);
}

std::shared_ptr<Renderable> Renderer::pickRenderable(std::uint64_t x, std::uint64_t y)
{
    if (!scene() || x >= viewport().width() || y >= viewport().height())
    {
        return nullptr;
    }
    raiseRedraw();  // renderables count what they draw here as shown
    if (mIsDeviceShared)
    {
        mDeviceContext->ClearState();  // of what the host has bound
    }
    std::shared_ptr<Renderable> owner = ownerOfPixel(
        mDevice,
        {mDeviceContext, *mView, *mPostProcess, mBackgroundColor},
        id(),
        static_cast<std::uint32_t>(x),
        static_cast<std::uint32_t>(y)
    );
    throwIfLost(mDevice);
    return owner;
}

void Renderer::resetPointChunkPosition() noexcept
{
    mPointExport->reset();
}

std::size_t Renderer::getNextPointChunk(VertexPosColor* points, std::size_t maxCount)
{
    return mPointExport->nextChunk({mDeviceContext, viewport(), *mFrame, *mReadBack}, {points, maxCount});
}

std::size_t Renderer::getNextPointChunk(double* positions, int* colors, std::size_t maxCount)
{
    return mPointExport->nextChunk(
        {mDeviceContext, viewport(), *mFrame, *mReadBack}, {positions, 3 * maxCount}, {colors, maxCount}
    );
}

void Renderer::getPoints(std::vector<VertexPosColor>& points)
{
    mPointExport->allPoints({mDeviceContext, viewport(), *mFrame, *mReadBack}, points);
}

void Renderer::writePoints(const std::filesystem::path& file)
{
    render();
    std::vector<VertexPosColor> points;
    getPoints(points);
    if (canOpenForWriting(file))
    {
        writePointText(file, points);
    }
}

Picking Renderer::picking()
{
    return {mDeviceContext, *camera(), *mFrame, *mReadBack};
}

void Renderer::raiseRedraw()
{
    mView->raiseRedraw();
}
}  // namespace Render
