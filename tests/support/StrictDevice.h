#pragma once

#include "tests/support/CallFaults.h"
#include "tests/support/ForwardingContext.h"
#include "tests/support/ForwardingDevice.h"
#include "tests/support/shaderFacts.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

class StrictDevice;

/// What a strict device remembers of the objects that it has made.
/// Threads  any.
class ObjectFacts
{
public:
    void keep(const IUnknown* shader, ShaderFacts facts);
    void keep(const IUnknown* layout, const D3D11_INPUT_ELEMENT_DESC* elements, UINT count);

    /// Empty for an unknown one.
    ShaderFacts shader(const IUnknown* object) const;

    /// An element of an input layout, with its offset worked out.
    struct Element
    {
        std::string name;
        UINT index = 0;
        UINT slot = 0;
        UINT end = 0;  ///< bytes from the start of a vertex
        bool isPerInstance = false;
    };

    std::vector<Element> layout(const IUnknown* object) const;

private:
    mutable std::mutex mMutex;
    std::map<const IUnknown*, ShaderFacts> mShaders;
    std::map<const IUnknown*, std::vector<Element>> mLayouts;
};

/// The immediate context of a StrictDevice.
///
/// It fails the test on calls that Direct3D 11.0 does not allow, or leaves undefined, although drivers may
/// accept them: hazards between targets, shader views and unordered views, maps that do not fit the usage,
/// copies between unlike resources, to dynamic ones or out of bounds, depth ranges outside 0..1, draws and
/// dispatches for which something is not bound, does not fit the shader, is mapped, or is too small.
class StrictContext : public ForwardingContext
{
public:
    StrictContext(
        ID3D11DeviceContext* inner, StrictDevice& device, const ObjectFacts& facts, CallFaults& faults
    );

    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override;
    void STDMETHODCALLTYPE GetDevice(ID3D11Device** device) override;

#define STRICT_VIEWS(Prefix)                                               \
    void STDMETHODCALLTYPE Prefix##SetShaderResources(                     \
        UINT startSlot, UINT count, ID3D11ShaderResourceView* const* views \
    ) override;
    STRICT_VIEWS(VS)
    STRICT_VIEWS(GS)
    STRICT_VIEWS(PS)
    STRICT_VIEWS(CS)
#undef STRICT_VIEWS

    void STDMETHODCALLTYPE CSSetUnorderedAccessViews(
        UINT startSlot, UINT count, ID3D11UnorderedAccessView* const* views, const UINT* initialCounts
    ) override;
    void STDMETHODCALLTYPE OMSetRenderTargets(
        UINT count, ID3D11RenderTargetView* const* views, ID3D11DepthStencilView* depthView
    ) override;
    void STDMETHODCALLTYPE RSSetViewports(UINT count, const D3D11_VIEWPORT* viewports) override;
    void STDMETHODCALLTYPE
    ClearDepthStencilView(ID3D11DepthStencilView* view, UINT flags, FLOAT depth, UINT8 stencil) override;
    void STDMETHODCALLTYPE
    ClearUnorderedAccessViewUint(ID3D11UnorderedAccessView* view, const UINT* values) override;

    HRESULT STDMETHODCALLTYPE
    Map(ID3D11Resource* resource,
        UINT subresource,
        D3D11_MAP type,
        UINT flags,
        D3D11_MAPPED_SUBRESOURCE* mapped) override;
    void STDMETHODCALLTYPE Unmap(ID3D11Resource* resource, UINT subresource) override;
    void STDMETHODCALLTYPE CopyResource(ID3D11Resource* destination, ID3D11Resource* source) override;
    void STDMETHODCALLTYPE CopySubresourceRegion(
        ID3D11Resource* destination,
        UINT destinationSubresource,
        UINT x,
        UINT y,
        UINT z,
        ID3D11Resource* source,
        UINT sourceSubresource,
        const D3D11_BOX* box
    ) override;
    void STDMETHODCALLTYPE UpdateSubresource(
        ID3D11Resource* resource,
        UINT subresource,
        const D3D11_BOX* box,
        const void* data,
        UINT rowPitch,
        UINT depthPitch
    ) override;

    void STDMETHODCALLTYPE Draw(UINT vertexCount, UINT startVertex) override;
    void STDMETHODCALLTYPE
    DrawInstanced(UINT vertexCount, UINT instanceCount, UINT startVertex, UINT startInstance) override;
    void STDMETHODCALLTYPE DrawIndexed(UINT indexCount, UINT startIndex, INT baseVertex) override;
    void STDMETHODCALLTYPE DrawIndexedInstanced(
        UINT indexCount, UINT instanceCount, UINT startIndex, INT baseVertex, UINT startInstance
    ) override;
    void STDMETHODCALLTYPE Dispatch(UINT x, UINT y, UINT z) override;

private:
    void checkNotWritten(UINT count, ID3D11ShaderResourceView* const* views) const;
    void checkTargets(UINT count, ID3D11RenderTargetView* const* views, ID3D11DepthStencilView* depthView)
        const;
    void checkUnordered(UINT count, ID3D11UnorderedAccessView* const* views) const;
    void checkUnmapped(ID3D11Resource* resource, const char* use) const;
    void checkVertices(UINT vertexEnd, UINT instanceEnd) const;
    bool checkIndices(UINT startIndex, UINT indexCount) const;
    void checkDraw(UINT vertexEnd, UINT instanceEnd) const;
    void checkBindings(const ShaderFacts& shader, int stage) const;

    StrictDevice& mDevice;  // its owner
    std::atomic<ULONG> mReferences{0};
    const ObjectFacts& mFacts;
    CallFaults& mFaults;
    std::set<std::pair<ID3D11Resource*, UINT>> mMapped;
};

/// A device for tests: passes every call on and fails the test on what Direct3D 11.0 does not allow although
/// the driver accepts it. Calls that create or map something can be made to fail.
///
/// Threads  as a device; the context's one.
class StrictDevice : public ForwardingDevice
{
public:
    StrictDevice(ID3D11Device* inner, ID3D11DeviceContext* innerContext);

    CallFaults& faults() noexcept { return mFaults; }

    StrictContext& context() noexcept { return mContext; }

    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    /// For the context, which lives as long as the device and keeps it.
    void addUse() noexcept { ++mUses; }

    void endUse() noexcept;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override;
    void STDMETHODCALLTYPE GetImmediateContext(ID3D11DeviceContext** context) override;
    HRESULT STDMETHODCALLTYPE GetDeviceRemovedReason() override;

    HRESULT STDMETHODCALLTYPE CreateBuffer(
        const D3D11_BUFFER_DESC* desc, const D3D11_SUBRESOURCE_DATA* data, ID3D11Buffer** made
    ) override;
    HRESULT STDMETHODCALLTYPE CreateTexture1D(
        const D3D11_TEXTURE1D_DESC* desc, const D3D11_SUBRESOURCE_DATA* data, ID3D11Texture1D** made
    ) override;
    HRESULT STDMETHODCALLTYPE CreateTexture2D(
        const D3D11_TEXTURE2D_DESC* desc, const D3D11_SUBRESOURCE_DATA* data, ID3D11Texture2D** made
    ) override;
    HRESULT STDMETHODCALLTYPE CreateShaderResourceView(
        ID3D11Resource* resource, const D3D11_SHADER_RESOURCE_VIEW_DESC* desc, ID3D11ShaderResourceView** made
    ) override;
    HRESULT STDMETHODCALLTYPE CreateUnorderedAccessView(
        ID3D11Resource* resource,
        const D3D11_UNORDERED_ACCESS_VIEW_DESC* desc,
        ID3D11UnorderedAccessView** made
    ) override;
    HRESULT STDMETHODCALLTYPE CreateRenderTargetView(
        ID3D11Resource* resource, const D3D11_RENDER_TARGET_VIEW_DESC* desc, ID3D11RenderTargetView** made
    ) override;
    HRESULT STDMETHODCALLTYPE CreateDepthStencilView(
        ID3D11Resource* resource, const D3D11_DEPTH_STENCIL_VIEW_DESC* desc, ID3D11DepthStencilView** made
    ) override;
    HRESULT STDMETHODCALLTYPE CreateInputLayout(
        const D3D11_INPUT_ELEMENT_DESC* elements,
        UINT count,
        const void* bytecode,
        SIZE_T size,
        ID3D11InputLayout** made
    ) override;
    HRESULT STDMETHODCALLTYPE CreateVertexShader(
        const void* bytecode, SIZE_T size, ID3D11ClassLinkage* linkage, ID3D11VertexShader** made
    ) override;
    HRESULT STDMETHODCALLTYPE CreateGeometryShader(
        const void* bytecode, SIZE_T size, ID3D11ClassLinkage* linkage, ID3D11GeometryShader** made
    ) override;
    HRESULT STDMETHODCALLTYPE CreatePixelShader(
        const void* bytecode, SIZE_T size, ID3D11ClassLinkage* linkage, ID3D11PixelShader** made
    ) override;
    HRESULT STDMETHODCALLTYPE CreateComputeShader(
        const void* bytecode, SIZE_T size, ID3D11ClassLinkage* linkage, ID3D11ComputeShader** made
    ) override;
    HRESULT STDMETHODCALLTYPE
    CreateBlendState(const D3D11_BLEND_DESC* desc, ID3D11BlendState** made) override;
    HRESULT STDMETHODCALLTYPE
    CreateDepthStencilState(const D3D11_DEPTH_STENCIL_DESC* desc, ID3D11DepthStencilState** made) override;
    HRESULT STDMETHODCALLTYPE
    CreateRasterizerState(const D3D11_RASTERIZER_DESC* desc, ID3D11RasterizerState** made) override;
    HRESULT STDMETHODCALLTYPE
    CreateSamplerState(const D3D11_SAMPLER_DESC* desc, ID3D11SamplerState** made) override;

private:
    ~StrictDevice() override = default;

    std::atomic<ULONG> mReferences{1};
    std::atomic<ULONG> mUses{1};  // references to device and context
    CallFaults mFaults;
    ObjectFacts mFacts;
    StrictContext mContext;
};
