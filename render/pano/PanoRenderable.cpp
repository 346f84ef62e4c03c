#include "render/pano/PanoRenderable.h"

#include "core/BackgroundThread.h"
#include "graphics/ColorImage.h"
#include "graphics/DepthImage.h"
#include "graphics/PanoramaLoader.h"
#include "render/gpu/ConstantBlock.h"
#include "render/gpu/PixelShader.h"
#include "render/gpu/SamplerState.h"
#include "render/gpu/ScopedBinding.h"
#include "render/gpu/ShaderConfiguration.h"
#include "render/gpu/ShaderMatrix.h"
#include "render/gpu/VertexShader.h"
#include "render/pano/PanoramaPyramid.h"
#include "render/pano/PanoramaTiles.h"
#include "render/platform/Direct3D.h"
#include "render/scene/Camera.h"

#include <Eigen/LU>

#include <chrono>
#include <cstdint>
#include <exception>
#include <stdexcept>
#include <stop_token>
#include <thread>
#include <utility>

namespace Render
{
namespace
{
constexpr const char* kShader = "shaders/pano.hlsl";
constexpr UINT kQuadVertexCount = 4;
constexpr std::chrono::milliseconds kPollInterval{100};

/// cbConstant of shaders/pano.hlsl.
struct ShaderConstants
{
    ShaderMatrix viewProjection = kIdentityShaderMatrix;
    ShaderMatrix inverseModelViewProjection = kIdentityShaderMatrix;
    ShaderMatrix model = kIdentityShaderMatrix;
    ShaderMatrix inverseModelView = kIdentityShaderMatrix;
    float zNear = 0.0F;
    float zFar = 0.0F;
    float scale = 1.0F;
    float padding = 0.0F;
};

static_assert(offsetof(ShaderConstants, inverseModelViewProjection) == 64);
static_assert(offsetof(ShaderConstants, model) == 128);
static_assert(offsetof(ShaderConstants, inverseModelView) == 192);
static_assert(offsetof(ShaderConstants, zNear) == 256);
static_assert(offsetof(ShaderConstants, zFar) == 260);
static_assert(offsetof(ShaderConstants, scale) == 264);
static_assert(sizeof(ShaderConstants) == 272);

/// Round the horizon without a seam, and not over the poles. Texels are not mixed: between a near and a far
/// one lies nothing that was measured.
D3D11_SAMPLER_DESC samplerDesc()
{
    D3D11_SAMPLER_DESC desc{};
    desc.Filter = D3D11_FILTER_MIN_MAG_MIP_POINT;
    desc.AddressU = D3D11_TEXTURE_ADDRESS_WRAP;
    desc.AddressV = D3D11_TEXTURE_ADDRESS_CLAMP;
    desc.AddressW = D3D11_TEXTURE_ADDRESS_CLAMP;
    desc.MaxAnisotropy = 1;
    desc.ComparisonFunc = D3D11_COMPARISON_NEVER;
    desc.MaxLOD = D3D11_FLOAT32_MAX;
    return desc;
}
}  // namespace

struct PanoRenderable::Constants
{
    ConstantBlock<ShaderConstants> block;
};

/// What belongs to one device.
struct PanoRenderable::DeviceObjects
{
    DeviceObjects(
        const Graphics::PanoramaLoader* loader,
        CComPtr<ID3D11Device> deviceUsed,
        CComPtr<ID3D11DeviceContext> contextUsed
    )
        : device(std::move(deviceUsed)),
          context(std::move(contextUsed)),
          vertexShader(VertexShader::fromHlslResource(device, kShader, {})),
          pixelShader(PixelShader::fromHlslResource(device, kShader)),
          sampler(device, samplerDesc())
    {
        if (loader != nullptr)
        {
            colors = PanoramaPyramid<Graphics::ColorImage>(device, *loader, loader->numColorLevels());
            depths = PanoramaPyramid<Graphics::DepthImage>(device, *loader, loader->numDepthLevels());
        }
    }

    CComPtr<ID3D11Device> device;
    CComPtr<ID3D11DeviceContext> context;
    VertexShader vertexShader;
    PixelShader pixelShader;
    SamplerState sampler;
    PanoramaPyramid<Graphics::ColorImage> colors;
    PanoramaPyramid<Graphics::DepthImage> depths;
    std::uint64_t shownColorLevel = 0;
    std::uint64_t shownDepthLevel = 0;
};

std::shared_ptr<PanoRenderable> PanoRenderable::create(
    std::shared_ptr<Graphics::PanoramaLoader> loader, const std::string& name
)
{
    return std::make_shared<PanoRenderable>(Private(), std::move(loader), name);
}

PanoRenderable::PanoRenderable(
    Private, std::shared_ptr<Graphics::PanoramaLoader> loader, const std::string& name
)
    : Renderable(name),
      mTiles(std::make_unique<PanoramaTiles>(std::move(loader), [this] { setNeedsRedraw(true); })),
      mConstants(std::make_unique<Constants>())
{
}

PanoRenderable::~PanoRenderable()
{
    mThread.reset();
}

void PanoRenderable::init(
    unsigned long long /*rendererId*/,
    std::shared_ptr<Camera> camera,
    CComPtr<ID3D11Device> device,
    CComPtr<ID3D11DeviceContext> deviceContext
)
{
    if (!mDeviceObjects || mDeviceObjects->device.get() != device.get())
    {
        deinit();
        auto objects = std::make_unique<DeviceObjects>(mTiles->loader(), device, std::move(deviceContext));
        mConstants->block = ConstantBlock<ShaderConstants>(device, mConstants->block.values());
        mDeviceObjects = std::move(objects);
    }
    mModel = worldMatrix();
    updateCamera(*camera);
    updateModel();
    if (std::exchange(mIsLost, false))
    {
        loadAgain();
    }
}

void PanoRenderable::deinit()
{
    mDeviceObjects.reset();
    mConstants->block.releaseBuffer();
    mIsLost |= mTiles->forgetTaken();
}

void PanoRenderable::loadAgain()
{
    switch (mRoad)
    {
        case Road::CallingThread:
            mTiles->load(std::stop_token(), nullptr);
            break;
        case Road::OwnThread:
            startAsyncPanoramaTilesLoading(std::function<void()>(mOnTile));
            break;
        case Road::None:
            break;
    }
}

void PanoRenderable::onUpdateProjectionMatrix(const std::shared_ptr<Camera>& camera)
{
    updateCamera(*camera);
}

void PanoRenderable::onUpdateViewMatrix(const std::shared_ptr<Camera>& camera)
{
    updateCamera(*camera);
}

void PanoRenderable::onUpdateZRange(const std::shared_ptr<Camera>& camera)
{
    updateCamera(*camera);
}

void PanoRenderable::onUpdateViewport(const std::shared_ptr<Camera>& camera)
{
    updateCamera(*camera);
}

void PanoRenderable::setMatrix(const Eigen::Matrix4f& matrix)
{
    Renderable::setMatrix(matrix);
    updateModel();
}

void PanoRenderable::invalidateWorldMatrix()
{
    Renderable::invalidateWorldMatrix();
    updateModel();
}

void PanoRenderable::updateCamera(const Camera& camera)
{
    mView = camera.viewMatrix();
    mViewProjection = camera.viewProjectionMatrix();
    ShaderConstants& constants = mConstants->block.edit();
    constants.viewProjection = toShaderMatrix(mViewProjection);
    constants.zNear = camera.zNear();
    constants.zFar = camera.zFar();
    updateInverses();
}

void PanoRenderable::updateModel()
{
    mModel = worldMatrix();
    ShaderConstants& constants = mConstants->block.edit();
    constants.model = toShaderMatrix(mModel);
    constants.scale = mModel.col(0).head<3>().norm();
    updateInverses();
}

void PanoRenderable::updateInverses()
{
    ShaderConstants& constants = mConstants->block.edit();
    constants.inverseModelViewProjection = toShaderMatrix((mViewProjection * mModel).inverse());
    constants.inverseModelView = toShaderMatrix((mView * mModel).inverse());
}

void PanoRenderable::render()
{
    setNeedsRedraw(false);  // first: a tile that arrives from here on asks for the next frame
    if (!mDeviceObjects || mTiles->loader() == nullptr)
    {
        return;
    }
    updatePanoramaTextures();

    DeviceObjects& objects = *mDeviceObjects;
    ID3D11DeviceContext* const context = objects.context;
    const ScopedBinding vertexShader(context, objects.vertexShader);
    const ScopedBinding pixelShader(context, objects.pixelShader);
    constexpr ShaderConfiguration kStages = ShaderConfiguration::Vertex | ShaderConfiguration::Pixel;
    const ScopedBinding constants(context, mConstants->block, kStages, 0U);
    const ScopedBinding color(
        context, objects.colors.view(objects.shownColorLevel), ShaderConfiguration::Pixel, 0U
    );
    const ScopedBinding depth(
        context, objects.depths.view(objects.shownDepthLevel), ShaderConfiguration::Pixel, 1U
    );
    const ScopedBinding sampler(context, objects.sampler, ShaderConfiguration::Pixel, 0U);
    context->IASetInputLayout(nullptr);
    context->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP);
    context->DrawInstanced(kQuadVertexCount, 1, 0, 0);
}

void PanoRenderable::updatePanoramaTextures()
{
    const Graphics::PanoramaLoader& loader = *mTiles->loader();
    PanoramaTiles::Batch batch = mTiles->take();
    try
    {
        for (const PanoramaTiles::ColorTile& tile : batch.colorTiles)
        {
            mDeviceObjects->colors.upload(mDeviceObjects->context, loader, tile.index, tile.image);
        }
        for (const PanoramaTiles::DepthTile& tile : batch.depthTiles)
        {
            mDeviceObjects->depths.upload(mDeviceObjects->context, loader, tile.index, tile.image);
        }
    }
    catch (...)
    {
        mTiles->giveBack(std::move(batch));
        throw;
    }
    mDeviceObjects->shownColorLevel = batch.colorLevel;
    mDeviceObjects->shownDepthLevel = batch.depthLevel;
}

Math::NBoundingBox<float, 3> PanoRenderable::boundingBox()
{
    return {};
}

void PanoRenderable::setNeedsRedraw(bool needsRedraw)
{
    mNeedsRedraw = needsRedraw;
}

bool PanoRenderable::needsRedraw() const
{
    return mNeedsRedraw;
}

Core::JobState PanoRenderable::loadPanoramaTiles()
{
    stopAsyncPanoramaTilesLoading();
    mRoad = Road::CallingThread;
    return mTiles->load(std::stop_token(), nullptr);
}

void PanoRenderable::startAsyncPanoramaTilesLoading(std::function<void()> onTile)
{
    stopAsyncPanoramaTilesLoading();
    mRoad = Road::OwnThread;
    mOnTile = std::move(onTile);
    mThread = std::make_unique<Core::BackgroundThread>([this, onTile = mOnTile](std::stop_token stopToken)
                                                       { mTiles->load(stopToken, onTile); }
    );  // what load() throws it has kept, and the thread drops it
    mTiles->announceLoad();
    mThread->restart();
}

void PanoRenderable::startAsyncPanoramaTilesLoading(void (*onTile)())
{
    startAsyncPanoramaTilesLoading(onTile != nullptr ? std::function<void()>(onTile) : nullptr);
}

void PanoRenderable::stopAsyncPanoramaTilesLoading()
{
    if (mThread)
    {
        mThread.reset();
        mTiles->withdrawLoad();
        if (loadingState() == Core::JobState::Stopped)
        {
            mRoad = Road::None;
        }
    }
}

Core::JobState PanoRenderable::loadingState() const noexcept
{
    return mTiles->state();
}

bool PanoRenderable::isLoadingComplete() const noexcept
{
    return loadingState() == Core::JobState::Complete;
}

bool PanoRenderable::isLoadingHealthy(bool rethrow) const
{
    const std::exception_ptr error = mTiles->error();
    if (error && rethrow)
    {
        std::rethrow_exception(error);
    }
    return !error;
}

void PanoRenderable::waitForLoadingComplete() const
{
    while (!isLoadingComplete())
    {
        isLoadingHealthy(true);
        if (loadingState() == Core::JobState::NoSource)
        {
            throw std::logic_error("Error: a panorama without a loader cannot be loaded");
        }
        std::this_thread::sleep_for(kPollInterval);
    }
}
}  // namespace Render
