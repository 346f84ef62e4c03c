#pragma once

#include "render/Export.h"
#include "render/gpu/DepthStencilView.h"
#include "render/gpu/RenderTargetView.h"
#include "render/gpu/ShaderConfiguration.h"
#include "render/gpu/ShaderResourceView.h"
#include "render/gpu/Texture2d.h"
#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace Render
{
/// Named off-screen colour targets and an optional depth buffer, all of one size: bound together as the
/// targets of one pass, then read as textures by a later one.
///
/// Operations that take the name of a target throw std::out_of_range for a name that was never added, those
/// of the depth buffer when there is none.
/// Threads  rendering thread only, not locked.
class RENDER_API RenderPass
{
public:
    /// What belongs to one name.
    struct RenderTarget
    {
        Texture2d texture;                      ///< what is drawn to
        ShaderResourceView shaderResourceView;  ///< to read it
        RenderTargetView renderTargetView;      ///< to draw to it
        std::uint64_t index = 0;                ///< output slot during the pass
    };

    /// Without targets and depth buffer.
    /// @param device  may be null as long as no target is added
    /// @param width   of every texture of the pass, in texels
    RenderPass(CComPtr<ID3D11Device> device, unsigned int width, unsigned int height);

    RenderPass(const RenderPass&) = delete;
    RenderPass& operator=(const RenderPass&) = delete;
    RenderPass(RenderPass&&) noexcept = default;
    RenderPass& operator=(RenderPass&&) noexcept = default;
    ~RenderPass() = default;

    /// Adds a colour target that is cleared to 0, 0, 0, 0.
    /// @param desc  size, array size, sample count and bind flags are the pass's, the rest is taken as it is
    /// @returns the target's output slot: 0 for the first, 1 for the second
    /// @throws ComException           when a texture or view cannot be created; nothing is added then
    /// @throws std::invalid_argument  for a name that the pass has already
    /// @throws std::length_error      for more targets than can be bound at once
    std::uint64_t addRenderTarget(const std::string& name, D3D11_TEXTURE2D_DESC desc);

    /// The same with nothing but the format given; the texture gets all mip levels, of which only level 0 is
    /// drawn to.
    std::uint64_t addRenderTarget(const std::string& name, DXGI_FORMAT format);

    /// Adds a depth buffer of 32-bit floats, or replaces it.
    /// @param clearFlags  D3D11_CLEAR_FLAG bits
    /// @throws ComException  when a texture or view cannot be created; the old depth buffer stays then
    /// @param mipLevels  0 for all; only level 0 is drawn to
    void addDepthBuffer(
        unsigned int clearFlags,
        float depthClearValue,
        unsigned char stencilClearValue,
        unsigned int mipLevels = 0
    );

    /// All that a pass has in one size, made and not yet in use.
    struct Textures
    {
        unsigned int width = 0;                                 ///< texels
        unsigned int height = 0;                                ///< texels
        std::unordered_map<std::string, RenderTarget> targets;  ///< by name
        std::unique_ptr<Texture2d> depthTexture;  ///< null without depth buffer, as the next two
        std::unique_ptr<ShaderResourceView> depthShaderResourceView;  ///< to read it
        std::unique_ptr<DepthStencilView> depthStencilView;           ///< to draw to it
    };

    /// What setViewport would bring into use.
    /// @throws ComException  when a texture or view cannot be created
    Textures texturesOfSize(unsigned int width, unsigned int height) const;

    /// @param textures  what texturesOfSize of this pass has given, with no target added since
    void use(Textures textures) noexcept;

    /// Makes all textures anew in another size; for a moment old and new ones exist. Clear values stay;
    /// whatever was bound as a texture counts as unbound. The viewport of the context is not touched.
    /// @throws ComException  when a texture or view cannot be created; nothing has changed then
    void setViewport(unsigned int width, unsigned int height);

    /// Red, green, blue and alpha that the target is cleared to.
    void setClearValue(const std::string& name, float r, float g, float b, float a);

    /// Each channel divided by 255.
    void setClearValue(const std::string& name, const Math::Color& value);

    /// What the depth buffer is cleared to; flags are D3D11_CLEAR_FLAG bits.
    void setDepthStencilClearValues(unsigned int clearFlags, float depth, unsigned char stencil);

    /// Makes the targets and the depth buffer those of the following draws.
    void begin(ID3D11DeviceContext* context) const;

    /// Leaves the context without targets and depth buffer.
    void end(ID3D11DeviceContext* context) const;

    /// Clears one target.
    void clear(ID3D11DeviceContext* context, const std::string& name) const;

    /// Clears every target and, if asked to, the depth buffer if there is one.
    void clearAllRenderTargets(ID3D11DeviceContext* context, bool clearDepth) const;

    /// Lets shaders read a target.
    /// @throws std::logic_error  "Error: end call is missing" when it is bound already
    void bindTexture(
        ID3D11DeviceContext* context,
        const std::string& name,
        ShaderConfiguration configuration,
        unsigned int slot
    );

    /// @throws std::logic_error  "Error: begin call is missing" when it is not bound
    void unbindTexture(ID3D11DeviceContext* context, const std::string& name);

    /// Lets shaders read the depth buffer.
    /// @throws std::logic_error  "Error: end call is missing" when it is bound already
    void bindDepthTexture(ID3D11DeviceContext* context, ShaderConfiguration configuration, unsigned int slot);

    /// @throws std::logic_error  "Error: begin call is missing" when it is not bound
    void unbindDepthTexture(ID3D11DeviceContext* context);

    /// Whether a target of that name was added.
    bool hasRenderTarget(const std::string& name) const { return mRenderTargets.contains(name); }

    /// Whether a depth buffer was added.
    bool hasDepthBuffer() const noexcept { return mDepthTexture != nullptr; }

    /// The texture of a target, or of the depth buffer.
    Texture2d& texture(const std::string& name);
    const Texture2d& texture(const std::string& name) const;

    /// To read the texture in shaders; as long as it.
    ID3D11ShaderResourceView* view(const std::string& name) const;
    Texture2d& depthTexture();
    const Texture2d& depthTexture() const;

private:
    RenderTarget& renderTarget(const std::string& name);
    const RenderTarget& renderTarget(const std::string& name) const;

    std::unordered_map<std::string, RenderTarget> mRenderTargets;
    std::vector<ID3D11RenderTargetView*> mRenderTargetViews;  // by index, owned by the targets
    std::unique_ptr<Texture2d> mDepthTexture;
    std::unique_ptr<ShaderResourceView> mDepthShaderResourceView;
    std::unique_ptr<DepthStencilView> mDepthStencilView;
    CComPtr<ID3D11Device> mDevice;
    unsigned int mWidth;
    unsigned int mHeight;
};
}  // namespace Render
