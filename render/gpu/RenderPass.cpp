#include "render/gpu/RenderPass.h"

#include "render/gpu/setDebugName.h"

#include <stdexcept>
#include <utility>

namespace Render
{
namespace
{
constexpr std::array<float, 4> kInitialClearValue{};

/// Ready to be set in place of as many targets as there can be.
constexpr std::array<ID3D11RenderTargetView*, D3D11_SIMULTANEOUS_RENDER_TARGET_COUNT> kNoViews{};

D3D11_TEXTURE2D_DESC depthTextureDesc(unsigned int width, unsigned int height, unsigned int mipLevels)
{
    return {
        .Width = width,
        .Height = height,
        .MipLevels = mipLevels,
        .ArraySize = 1,
        .Format = DXGI_FORMAT_R32_TYPELESS,
        .SampleDesc = {.Count = 1, .Quality = 0},
        .Usage = D3D11_USAGE_DEFAULT,
        .BindFlags = D3D11_BIND_DEPTH_STENCIL | D3D11_BIND_SHADER_RESOURCE,
        .CPUAccessFlags = 0,
        .MiscFlags = 0,
    };
}

/// Depth as shaders read it: mip level 0, the one that is drawn to.
ShaderResourceView makeDepthShaderResourceView(ID3D11Device* device, const Texture2d& texture)
{
    D3D11_SHADER_RESOURCE_VIEW_DESC desc{};
    desc.Format = DXGI_FORMAT_R32_FLOAT;
    desc.ViewDimension = D3D11_SRV_DIMENSION_TEXTURE2D;
    desc.Texture2D.MostDetailedMip = 0;
    desc.Texture2D.MipLevels = 1;
    return ShaderResourceView(device, texture.get(), &desc);
}

/// Names what a render target or the depth buffer consists of.
template <class View>
void setDebugNames(
    const Texture2d& texture, const ShaderResourceView& shaderView, const View& view, std::string name
)
{
    name.insert(0, "RenderPass ");
    setDebugName(texture.get(), name);
    setDebugName(shaderView.get(), name);
    setDebugName(view.get(), name);
}

/// The part of a pass that is asked for, if the pass has it.
template <class T>
T& required(const std::unique_ptr<T>& part)
{
    if (!part)
    {
        throw std::out_of_range("Error: render pass has no depth buffer");
    }
    return *part;
}
}  // namespace

RenderPass::RenderPass(CComPtr<ID3D11Device> device, unsigned int width, unsigned int height)
    : mDevice(std::move(device)), mWidth(width), mHeight(height)
{
}

std::uint64_t RenderPass::addRenderTarget(const std::string& name, D3D11_TEXTURE2D_DESC desc)
{
    if (mRenderTargets.contains(name))
    {
        throw std::invalid_argument("Error: render pass already has a target named " + name);
    }
    if (mRenderTargetViews.size() == kNoViews.size())
    {
        throw std::length_error("Error: render pass has too many targets");
    }

    desc.Width = mWidth;
    desc.Height = mHeight;
    desc.ArraySize = 1;
    desc.SampleDesc.Count = 1;
    desc.BindFlags = D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_RENDER_TARGET;

    RenderTarget target;
    target.texture = Texture2d(mDevice, desc);
    target.shaderResourceView = ShaderResourceView(mDevice, target.texture.get(), nullptr);
    target.renderTargetView = RenderTargetView(mDevice, target.texture.get(), kInitialClearValue);
    setDebugNames(target.texture, target.shaderResourceView, target.renderTargetView, name);
    target.index = mRenderTargetViews.size();

    const std::uint64_t index = target.index;
    mRenderTargetViews.reserve(
        mRenderTargetViews.size() + 1
    );  // so that nothing can fail after the insertion
    ID3D11RenderTargetView* const view = target.renderTargetView.get();
    mRenderTargets.emplace(name, std::move(target));
    mRenderTargetViews.push_back(view);
    return index;
}

std::uint64_t RenderPass::addRenderTarget(const std::string& name, DXGI_FORMAT format)
{
    D3D11_TEXTURE2D_DESC desc{};
    desc.Format = format;
    return addRenderTarget(name, desc);
}

void RenderPass::addDepthBuffer(
    unsigned int clearFlags, float depthClearValue, unsigned char stencilClearValue, unsigned int mipLevels
)
{
    auto texture = std::make_unique<Texture2d>(mDevice, depthTextureDesc(mWidth, mHeight, mipLevels));
    auto shaderView = std::make_unique<ShaderResourceView>(makeDepthShaderResourceView(mDevice, *texture));
    auto depthView = std::make_unique<DepthStencilView>(
        mDevice, texture->get(), clearFlags, depthClearValue, stencilClearValue
    );
    setDebugNames(*texture, *shaderView, *depthView, "depth");
    mDepthTexture = std::move(texture);
    mDepthShaderResourceView = std::move(shaderView);
    mDepthStencilView = std::move(depthView);
}

RenderPass::Textures RenderPass::texturesOfSize(unsigned int width, unsigned int height) const
{
    const auto resized = [&](const Texture2d& texture)
    {
        Texture2d result(mDevice, texture.desc(), 0U, 0U);  // empty
        result.resize(mDevice, width, height);
        return result;
    };
    Textures made;
    made.width = width;
    made.height = height;
    for (const auto& [name, target] : mRenderTargets)
    {
        RenderTarget& other = made.targets[name];
        other.texture = resized(target.texture);
        other.shaderResourceView = ShaderResourceView(mDevice, other.texture.get(), nullptr);
        other.renderTargetView =
            RenderTargetView(mDevice, other.texture.get(), target.renderTargetView.clearValue());
        other.index = target.index;
        setDebugNames(other.texture, other.shaderResourceView, other.renderTargetView, name);
    }
    if (mDepthTexture)
    {
        made.depthTexture = std::make_unique<Texture2d>(resized(*mDepthTexture));
        made.depthShaderResourceView =
            std::make_unique<ShaderResourceView>(makeDepthShaderResourceView(mDevice, *made.depthTexture));
        made.depthStencilView = std::make_unique<DepthStencilView>(
            mDevice,
            made.depthTexture->get(),
            mDepthStencilView->clearFlags(),
            mDepthStencilView->depthClearValue(),
            mDepthStencilView->stencilClearValue()
        );
        setDebugNames(*made.depthTexture, *made.depthShaderResourceView, *made.depthStencilView, "depth");
    }
    return made;
}

void RenderPass::use(Textures textures) noexcept
{
    mWidth = textures.width;
    mHeight = textures.height;
    for (auto& [name, target] : mRenderTargets)
    {
        target = std::move(textures.targets.at(name));  // in place: references to textures stay valid
        mRenderTargetViews[target.index] = target.renderTargetView.get();
    }
    if (mDepthTexture)
    {
        *mDepthTexture = std::move(*textures.depthTexture);
        *mDepthShaderResourceView = std::move(*textures.depthShaderResourceView);
        *mDepthStencilView = std::move(*textures.depthStencilView);
    }
}

void RenderPass::setViewport(unsigned int width, unsigned int height)
{
    use(texturesOfSize(width, height));
}

void RenderPass::setClearValue(const std::string& name, float r, float g, float b, float a)
{
    renderTarget(name).renderTargetView.setClearValue(r, g, b, a);
}

void RenderPass::setClearValue(const std::string& name, const Math::Color& value)
{
    renderTarget(name).renderTargetView.setClearValue(value);
}

void RenderPass::setDepthStencilClearValues(unsigned int clearFlags, float depth, unsigned char stencil)
{
    required(mDepthStencilView).setClearValues(clearFlags, depth, stencil);
}

void RenderPass::begin(ID3D11DeviceContext* context) const
{
    context->OMSetRenderTargets(
        static_cast<UINT>(mRenderTargetViews.size()),
        mRenderTargetViews.data(),
        mDepthStencilView ? mDepthStencilView->get() : nullptr
    );
}

void RenderPass::end(ID3D11DeviceContext* context) const
{
    context->OMSetRenderTargets(static_cast<UINT>(mRenderTargetViews.size()), kNoViews.data(), nullptr);
}

void RenderPass::clear(ID3D11DeviceContext* context, const std::string& name) const
{
    renderTarget(name).renderTargetView.clear(context);
}

void RenderPass::clearAllRenderTargets(ID3D11DeviceContext* context, bool clearDepth) const
{
    for (const auto& [name, target] : mRenderTargets)
    {
        target.renderTargetView.clear(context);
    }
    if (clearDepth && mDepthStencilView)
    {
        mDepthStencilView->clear(context);
    }
}

void RenderPass::bindTexture(
    ID3D11DeviceContext* context,
    const std::string& name,
    ShaderConfiguration configuration,
    unsigned int slot
)
{
    renderTarget(name).shaderResourceView.begin(context, configuration, slot);
}

void RenderPass::unbindTexture(ID3D11DeviceContext* context, const std::string& name)
{
    renderTarget(name).shaderResourceView.end(context);
}

void RenderPass::bindDepthTexture(
    ID3D11DeviceContext* context, ShaderConfiguration configuration, unsigned int slot
)
{
    required(mDepthShaderResourceView).begin(context, configuration, slot);
}

void RenderPass::unbindDepthTexture(ID3D11DeviceContext* context)
{
    required(mDepthShaderResourceView).end(context);
}

Texture2d& RenderPass::texture(const std::string& name)
{
    return renderTarget(name).texture;
}

const Texture2d& RenderPass::texture(const std::string& name) const
{
    return renderTarget(name).texture;
}

ID3D11ShaderResourceView* RenderPass::view(const std::string& name) const
{
    return renderTarget(name).shaderResourceView.get();
}

Texture2d& RenderPass::depthTexture()
{
    return required(mDepthTexture);
}

const Texture2d& RenderPass::depthTexture() const
{
    return required(mDepthTexture);
}

RenderPass::RenderTarget& RenderPass::renderTarget(const std::string& name)
{
    return const_cast<RenderTarget&>(std::as_const(*this).renderTarget(name));
}

const RenderPass::RenderTarget& RenderPass::renderTarget(const std::string& name) const
{
    const auto found = mRenderTargets.find(name);
    if (found == mRenderTargets.end())
    {
        throw std::out_of_range("Error: render pass has no target named " + name);
    }
    return found->second;
}
}  // namespace Render
