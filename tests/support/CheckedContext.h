#pragma once

#include "tests/support/ForwardingContext.h"

#include <map>
#include <string>
#include <vector>

/// A device context for tests: passes every call on and writes down those that bind, draw, copy, clear and
/// map. It is made from the context of DeviceFixture, which fails the test on calls that are not allowed, see
/// StrictContext.
///
/// A call is written as "PSSetShaderResources 2 color": the function, its numbers, and its objects by the
/// names that the test has given them; "null" is no object and "?" one without a name.
class CheckedContext : public ForwardingContext
{
public:
    using ForwardingContext::ForwardingContext;

    /// How an object is called from now on.
    void name(const IUnknown* object, const std::string& name) { mNames[object] = name; }

    const std::vector<std::string>& calls() const noexcept { return mCalls; }

    void forgetCalls() { mCalls.clear(); }

#define WATCH_SLOTS(Function, Object) \
    void STDMETHODCALLTYPE Function(UINT startSlot, UINT count, Object* const* objects) override;
    WATCH_SLOTS(VSSetShaderResources, ID3D11ShaderResourceView)
    WATCH_SLOTS(GSSetShaderResources, ID3D11ShaderResourceView)
    WATCH_SLOTS(PSSetShaderResources, ID3D11ShaderResourceView)
    WATCH_SLOTS(CSSetShaderResources, ID3D11ShaderResourceView)
    WATCH_SLOTS(VSSetSamplers, ID3D11SamplerState)
    WATCH_SLOTS(GSSetSamplers, ID3D11SamplerState)
    WATCH_SLOTS(PSSetSamplers, ID3D11SamplerState)
    WATCH_SLOTS(CSSetSamplers, ID3D11SamplerState)
    WATCH_SLOTS(VSSetConstantBuffers, ID3D11Buffer)
    WATCH_SLOTS(GSSetConstantBuffers, ID3D11Buffer)
    WATCH_SLOTS(PSSetConstantBuffers, ID3D11Buffer)
    WATCH_SLOTS(CSSetConstantBuffers, ID3D11Buffer)
#undef WATCH_SLOTS

#define WATCH_SHADER(Function, Object)                                                                 \
    void STDMETHODCALLTYPE Function(Object* shader, ID3D11ClassInstance* const* instances, UINT count) \
        override;
    WATCH_SHADER(VSSetShader, ID3D11VertexShader)
    WATCH_SHADER(GSSetShader, ID3D11GeometryShader)
    WATCH_SHADER(PSSetShader, ID3D11PixelShader)
    WATCH_SHADER(CSSetShader, ID3D11ComputeShader)
#undef WATCH_SHADER

    void STDMETHODCALLTYPE IASetInputLayout(ID3D11InputLayout* layout) override;
    void STDMETHODCALLTYPE IASetVertexBuffers(
        UINT startSlot, UINT count, ID3D11Buffer* const* buffers, const UINT* strides, const UINT* offsets
    ) override;
    void STDMETHODCALLTYPE IASetIndexBuffer(ID3D11Buffer* buffer, DXGI_FORMAT format, UINT offset) override;
    void STDMETHODCALLTYPE IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY topology) override;
    void STDMETHODCALLTYPE OMSetRenderTargets(
        UINT count, ID3D11RenderTargetView* const* views, ID3D11DepthStencilView* depthView
    ) override;
    void STDMETHODCALLTYPE
    OMSetBlendState(ID3D11BlendState* state, const FLOAT* blendFactor, UINT sampleMask) override;
    void STDMETHODCALLTYPE OMSetDepthStencilState(ID3D11DepthStencilState* state, UINT stencilRef) override;
    void STDMETHODCALLTYPE RSSetState(ID3D11RasterizerState* state) override;

    void STDMETHODCALLTYPE Draw(UINT vertexCount, UINT startVertex) override;
    void STDMETHODCALLTYPE
    DrawInstanced(UINT vertexCount, UINT instanceCount, UINT startVertex, UINT startInstance) override;
    void STDMETHODCALLTYPE DrawIndexed(UINT indexCount, UINT startIndex, INT baseVertex) override;

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

    void STDMETHODCALLTYPE ClearRenderTargetView(ID3D11RenderTargetView* view, const FLOAT* color) override;
    void STDMETHODCALLTYPE
    ClearDepthStencilView(ID3D11DepthStencilView* view, UINT flags, FLOAT depth, UINT8 stencil) override;
    void STDMETHODCALLTYPE ClearState() override;

private:
    std::string nameOf(const IUnknown* object) const;

    template <class... Words>
    void write(const Words&... words);

    std::map<const IUnknown*, std::string> mNames;
    std::vector<std::string> mCalls;
};

/// What is bound in a context, one text each, such as "PS shader resource 2": shaders, views, samplers,
/// constant, vertex and index buffers, input layout and targets.
std::vector<std::string> boundObjects(ID3D11DeviceContext* context);
