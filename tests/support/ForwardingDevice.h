#pragma once

#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

/// A device that passes every call on to another one; the base of devices that watch calls or let them fail.
///
/// Whoever derives from it counts its references.
class ForwardingDevice : public ID3D11Device
{
public:
    explicit ForwardingDevice(ID3D11Device* inner) : mInner(inner) {}

    virtual ~ForwardingDevice() = default;

    ForwardingDevice(const ForwardingDevice&) = delete;
    ForwardingDevice& operator=(const ForwardingDevice&) = delete;

    ID3D11Device* inner() const noexcept { return mInner; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override
    {
        return mInner->QueryInterface(id, object);
    }

    // Those that make something.

    HRESULT STDMETHODCALLTYPE CreateBuffer(
        const D3D11_BUFFER_DESC* desc, const D3D11_SUBRESOURCE_DATA* data, ID3D11Buffer** made
    ) override
    {
        return mInner->CreateBuffer(desc, data, made);
    }

    HRESULT STDMETHODCALLTYPE CreateTexture1D(
        const D3D11_TEXTURE1D_DESC* desc, const D3D11_SUBRESOURCE_DATA* data, ID3D11Texture1D** made
    ) override
    {
        return mInner->CreateTexture1D(desc, data, made);
    }

    HRESULT STDMETHODCALLTYPE CreateTexture2D(
        const D3D11_TEXTURE2D_DESC* desc, const D3D11_SUBRESOURCE_DATA* data, ID3D11Texture2D** made
    ) override
    {
        return mInner->CreateTexture2D(desc, data, made);
    }

    HRESULT STDMETHODCALLTYPE CreateTexture3D(
        const D3D11_TEXTURE3D_DESC* desc, const D3D11_SUBRESOURCE_DATA* data, ID3D11Texture3D** made
    ) override
    {
        return mInner->CreateTexture3D(desc, data, made);
    }

    HRESULT STDMETHODCALLTYPE CreateShaderResourceView(
        ID3D11Resource* resource, const D3D11_SHADER_RESOURCE_VIEW_DESC* desc, ID3D11ShaderResourceView** made
    ) override
    {
        return mInner->CreateShaderResourceView(resource, desc, made);
    }

    HRESULT STDMETHODCALLTYPE CreateUnorderedAccessView(
        ID3D11Resource* resource,
        const D3D11_UNORDERED_ACCESS_VIEW_DESC* desc,
        ID3D11UnorderedAccessView** made
    ) override
    {
        return mInner->CreateUnorderedAccessView(resource, desc, made);
    }

    HRESULT STDMETHODCALLTYPE CreateRenderTargetView(
        ID3D11Resource* resource, const D3D11_RENDER_TARGET_VIEW_DESC* desc, ID3D11RenderTargetView** made
    ) override
    {
        return mInner->CreateRenderTargetView(resource, desc, made);
    }

    HRESULT STDMETHODCALLTYPE CreateDepthStencilView(
        ID3D11Resource* resource, const D3D11_DEPTH_STENCIL_VIEW_DESC* desc, ID3D11DepthStencilView** made
    ) override
    {
        return mInner->CreateDepthStencilView(resource, desc, made);
    }

    HRESULT STDMETHODCALLTYPE CreateInputLayout(
        const D3D11_INPUT_ELEMENT_DESC* elements,
        UINT count,
        const void* bytecode,
        SIZE_T size,
        ID3D11InputLayout** made
    ) override
    {
        return mInner->CreateInputLayout(elements, count, bytecode, size, made);
    }

    HRESULT STDMETHODCALLTYPE CreateVertexShader(
        const void* bytecode, SIZE_T size, ID3D11ClassLinkage* linkage, ID3D11VertexShader** made
    ) override
    {
        return mInner->CreateVertexShader(bytecode, size, linkage, made);
    }

    HRESULT STDMETHODCALLTYPE CreateGeometryShader(
        const void* bytecode, SIZE_T size, ID3D11ClassLinkage* linkage, ID3D11GeometryShader** made
    ) override
    {
        return mInner->CreateGeometryShader(bytecode, size, linkage, made);
    }

    HRESULT STDMETHODCALLTYPE CreateGeometryShaderWithStreamOutput(
        const void* bytecode,
        SIZE_T size,
        const D3D11_SO_DECLARATION_ENTRY* entries,
        UINT entryCount,
        const UINT* strides,
        UINT strideCount,
        UINT stream,
        ID3D11ClassLinkage* linkage,
        ID3D11GeometryShader** made
    ) override
    {
        return mInner->CreateGeometryShaderWithStreamOutput(
            bytecode, size, entries, entryCount, strides, strideCount, stream, linkage, made
        );
    }

    HRESULT STDMETHODCALLTYPE CreatePixelShader(
        const void* bytecode, SIZE_T size, ID3D11ClassLinkage* linkage, ID3D11PixelShader** made
    ) override
    {
        return mInner->CreatePixelShader(bytecode, size, linkage, made);
    }

    HRESULT STDMETHODCALLTYPE CreateHullShader(
        const void* bytecode, SIZE_T size, ID3D11ClassLinkage* linkage, ID3D11HullShader** made
    ) override
    {
        return mInner->CreateHullShader(bytecode, size, linkage, made);
    }

    HRESULT STDMETHODCALLTYPE CreateDomainShader(
        const void* bytecode, SIZE_T size, ID3D11ClassLinkage* linkage, ID3D11DomainShader** made
    ) override
    {
        return mInner->CreateDomainShader(bytecode, size, linkage, made);
    }

    HRESULT STDMETHODCALLTYPE CreateComputeShader(
        const void* bytecode, SIZE_T size, ID3D11ClassLinkage* linkage, ID3D11ComputeShader** made
    ) override
    {
        return mInner->CreateComputeShader(bytecode, size, linkage, made);
    }

    HRESULT STDMETHODCALLTYPE CreateClassLinkage(ID3D11ClassLinkage** made) override
    {
        return mInner->CreateClassLinkage(made);
    }

    HRESULT STDMETHODCALLTYPE CreateBlendState(const D3D11_BLEND_DESC* desc, ID3D11BlendState** made) override
    {
        return mInner->CreateBlendState(desc, made);
    }

    HRESULT STDMETHODCALLTYPE
    CreateDepthStencilState(const D3D11_DEPTH_STENCIL_DESC* desc, ID3D11DepthStencilState** made) override
    {
        return mInner->CreateDepthStencilState(desc, made);
    }

    HRESULT STDMETHODCALLTYPE
    CreateRasterizerState(const D3D11_RASTERIZER_DESC* desc, ID3D11RasterizerState** made) override
    {
        return mInner->CreateRasterizerState(desc, made);
    }

    HRESULT STDMETHODCALLTYPE
    CreateSamplerState(const D3D11_SAMPLER_DESC* desc, ID3D11SamplerState** made) override
    {
        return mInner->CreateSamplerState(desc, made);
    }

    HRESULT STDMETHODCALLTYPE CreateQuery(const D3D11_QUERY_DESC* desc, ID3D11Query** made) override
    {
        return mInner->CreateQuery(desc, made);
    }

    HRESULT STDMETHODCALLTYPE CreatePredicate(const D3D11_QUERY_DESC* desc, ID3D11Predicate** made) override
    {
        return mInner->CreatePredicate(desc, made);
    }

    HRESULT STDMETHODCALLTYPE CreateCounter(const D3D11_COUNTER_DESC* desc, ID3D11Counter** made) override
    {
        return mInner->CreateCounter(desc, made);
    }

    HRESULT STDMETHODCALLTYPE CreateDeferredContext(UINT flags, ID3D11DeviceContext** made) override
    {
        return mInner->CreateDeferredContext(flags, made);
    }

    // The others.

    HRESULT STDMETHODCALLTYPE OpenSharedResource(HANDLE resource, REFIID id, void** made) override
    {
        return mInner->OpenSharedResource(resource, id, made);
    }

    HRESULT STDMETHODCALLTYPE CheckFormatSupport(DXGI_FORMAT format, UINT* support) override
    {
        return mInner->CheckFormatSupport(format, support);
    }

    HRESULT STDMETHODCALLTYPE
    CheckMultisampleQualityLevels(DXGI_FORMAT format, UINT sampleCount, UINT* levels) override
    {
        return mInner->CheckMultisampleQualityLevels(format, sampleCount, levels);
    }

    void STDMETHODCALLTYPE CheckCounterInfo(D3D11_COUNTER_INFO* info) override
    {
        mInner->CheckCounterInfo(info);
    }

    HRESULT STDMETHODCALLTYPE CheckCounter(
        const D3D11_COUNTER_DESC* desc,
        D3D11_COUNTER_TYPE* type,
        UINT* active,
        LPSTR name,
        UINT* nameLength,
        LPSTR units,
        UINT* unitsLength,
        LPSTR text,
        UINT* textLength
    ) override
    {
        return mInner->CheckCounter(
            desc, type, active, name, nameLength, units, unitsLength, text, textLength
        );
    }

    HRESULT STDMETHODCALLTYPE CheckFeatureSupport(D3D11_FEATURE feature, void* data, UINT size) override
    {
        return mInner->CheckFeatureSupport(feature, data, size);
    }

    HRESULT STDMETHODCALLTYPE GetPrivateData(REFGUID id, UINT* size, void* data) override
    {
        return mInner->GetPrivateData(id, size, data);
    }

    HRESULT STDMETHODCALLTYPE SetPrivateData(REFGUID id, UINT size, const void* data) override
    {
        return mInner->SetPrivateData(id, size, data);
    }

    HRESULT STDMETHODCALLTYPE SetPrivateDataInterface(REFGUID id, const IUnknown* data) override
    {
        return mInner->SetPrivateDataInterface(id, data);
    }

    D3D_FEATURE_LEVEL STDMETHODCALLTYPE GetFeatureLevel() override { return mInner->GetFeatureLevel(); }

    UINT STDMETHODCALLTYPE GetCreationFlags() override { return mInner->GetCreationFlags(); }

    HRESULT STDMETHODCALLTYPE GetDeviceRemovedReason() override { return mInner->GetDeviceRemovedReason(); }

    void STDMETHODCALLTYPE GetImmediateContext(ID3D11DeviceContext** context) override
    {
        mInner->GetImmediateContext(context);
    }

    HRESULT STDMETHODCALLTYPE SetExceptionMode(UINT flags) override
    {
        return mInner->SetExceptionMode(flags);
    }

    UINT STDMETHODCALLTYPE GetExceptionMode() override { return mInner->GetExceptionMode(); }

private:
    Render::CComPtr<ID3D11Device> mInner;
};
