#pragma once

#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

// The eight functions that each shader stage has.
#define FORWARD_STAGE(Prefix, Stage)                                                     \
    void STDMETHODCALLTYPE Prefix##SetShader(                                            \
        ID3D11##Stage##Shader* shader, ID3D11ClassInstance* const* instances, UINT count \
    ) override                                                                           \
    {                                                                                    \
        mInner->Prefix##SetShader(shader, instances, count);                             \
    }                                                                                    \
    void STDMETHODCALLTYPE Prefix##GetShader(                                            \
        ID3D11##Stage##Shader** shader, ID3D11ClassInstance** instances, UINT* count     \
    ) override                                                                           \
    {                                                                                    \
        mInner->Prefix##GetShader(shader, instances, count);                             \
    }                                                                                    \
    FORWARD_SLOTS(Prefix, ShaderResources, ID3D11ShaderResourceView)                     \
    FORWARD_SLOTS(Prefix, Samplers, ID3D11SamplerState)                                  \
    FORWARD_SLOTS(Prefix, ConstantBuffers, ID3D11Buffer)

#define FORWARD_SLOTS(Prefix, Kind, Object)                                                               \
    void STDMETHODCALLTYPE Prefix##Set##Kind(UINT startSlot, UINT count, Object* const* objects) override \
    {                                                                                                     \
        mInner->Prefix##Set##Kind(startSlot, count, objects);                                             \
    }                                                                                                     \
    void STDMETHODCALLTYPE Prefix##Get##Kind(UINT startSlot, UINT count, Object** objects) override       \
    {                                                                                                     \
        mInner->Prefix##Get##Kind(startSlot, count, objects);                                             \
    }

/// A device context that passes every call on to another one; the base of contexts that watch some of the
/// calls.
///
/// It lives where the test puts it: references to it are not counted.
class ForwardingContext : public ID3D11DeviceContext
{
public:
    explicit ForwardingContext(ID3D11DeviceContext* inner) : mInner(inner) {}

    virtual ~ForwardingContext() = default;

    ForwardingContext(const ForwardingContext&) = delete;
    ForwardingContext& operator=(const ForwardingContext&) = delete;

    ID3D11DeviceContext* inner() const noexcept { return mInner; }

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override
    {
        return mInner->QueryInterface(id, object);
    }

    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }

    ULONG STDMETHODCALLTYPE Release() override { return 1; }

    // ID3D11DeviceChild
    void STDMETHODCALLTYPE GetDevice(ID3D11Device** device) override { mInner->GetDevice(device); }

    HRESULT STDMETHODCALLTYPE GetPrivateData(REFGUID guid, UINT* size, void* data) override
    {
        return mInner->GetPrivateData(guid, size, data);
    }

    HRESULT STDMETHODCALLTYPE SetPrivateData(REFGUID guid, UINT size, const void* data) override
    {
        return mInner->SetPrivateData(guid, size, data);
    }

    HRESULT STDMETHODCALLTYPE SetPrivateDataInterface(REFGUID guid, const IUnknown* data) override
    {
        return mInner->SetPrivateDataInterface(guid, data);
    }

    // shader stages
    FORWARD_STAGE(VS, Vertex)
    FORWARD_STAGE(HS, Hull)
    FORWARD_STAGE(DS, Domain)
    FORWARD_STAGE(GS, Geometry)
    FORWARD_STAGE(PS, Pixel)
    FORWARD_STAGE(CS, Compute)

    // input assembler
    void STDMETHODCALLTYPE IASetInputLayout(ID3D11InputLayout* inputLayout) override
    {
        mInner->IASetInputLayout(inputLayout);
    }

    void STDMETHODCALLTYPE IASetVertexBuffers(
        UINT startSlot,
        UINT numBuffers,
        ID3D11Buffer* const* vertexBuffers,
        const UINT* strides,
        const UINT* offsets
    ) override
    {
        mInner->IASetVertexBuffers(startSlot, numBuffers, vertexBuffers, strides, offsets);
    }

    void STDMETHODCALLTYPE
    IASetIndexBuffer(ID3D11Buffer* indexBuffer, DXGI_FORMAT format, UINT offset) override
    {
        mInner->IASetIndexBuffer(indexBuffer, format, offset);
    }

    void STDMETHODCALLTYPE IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY topology) override
    {
        mInner->IASetPrimitiveTopology(topology);
    }

    void STDMETHODCALLTYPE IAGetInputLayout(ID3D11InputLayout** inputLayout) override
    {
        mInner->IAGetInputLayout(inputLayout);
    }

    void STDMETHODCALLTYPE IAGetVertexBuffers(
        UINT startSlot, UINT numBuffers, ID3D11Buffer** vertexBuffers, UINT* strides, UINT* offsets
    ) override
    {
        mInner->IAGetVertexBuffers(startSlot, numBuffers, vertexBuffers, strides, offsets);
    }

    void STDMETHODCALLTYPE
    IAGetIndexBuffer(ID3D11Buffer** indexBuffer, DXGI_FORMAT* format, UINT* offset) override
    {
        mInner->IAGetIndexBuffer(indexBuffer, format, offset);
    }

    void STDMETHODCALLTYPE IAGetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY* topology) override
    {
        mInner->IAGetPrimitiveTopology(topology);
    }

    // compute shader
    void STDMETHODCALLTYPE CSSetUnorderedAccessViews(
        UINT startSlot,
        UINT numViews,
        ID3D11UnorderedAccessView* const* unorderedAccessViews,
        const UINT* initialCounts
    ) override
    {
        mInner->CSSetUnorderedAccessViews(startSlot, numViews, unorderedAccessViews, initialCounts);
    }

    void STDMETHODCALLTYPE CSGetUnorderedAccessViews(
        UINT startSlot, UINT numViews, ID3D11UnorderedAccessView** unorderedAccessViews
    ) override
    {
        mInner->CSGetUnorderedAccessViews(startSlot, numViews, unorderedAccessViews);
    }

    // stream output
    void STDMETHODCALLTYPE
    SOSetTargets(UINT numBuffers, ID3D11Buffer* const* sOTargets, const UINT* offsets) override
    {
        mInner->SOSetTargets(numBuffers, sOTargets, offsets);
    }

    void STDMETHODCALLTYPE SOGetTargets(UINT numBuffers, ID3D11Buffer** sOTargets) override
    {
        mInner->SOGetTargets(numBuffers, sOTargets);
    }

    // rasterizer
    void STDMETHODCALLTYPE RSSetState(ID3D11RasterizerState* rasterizerState) override
    {
        mInner->RSSetState(rasterizerState);
    }

    void STDMETHODCALLTYPE RSSetViewports(UINT numViewports, const D3D11_VIEWPORT* viewports) override
    {
        mInner->RSSetViewports(numViewports, viewports);
    }

    void STDMETHODCALLTYPE RSSetScissorRects(UINT numRects, const D3D11_RECT* rects) override
    {
        mInner->RSSetScissorRects(numRects, rects);
    }

    void STDMETHODCALLTYPE RSGetState(ID3D11RasterizerState** rasterizerState) override
    {
        mInner->RSGetState(rasterizerState);
    }

    void STDMETHODCALLTYPE RSGetViewports(UINT* numViewports, D3D11_VIEWPORT* viewports) override
    {
        mInner->RSGetViewports(numViewports, viewports);
    }

    void STDMETHODCALLTYPE RSGetScissorRects(UINT* numRects, D3D11_RECT* rects) override
    {
        mInner->RSGetScissorRects(numRects, rects);
    }

    // output merger
    void STDMETHODCALLTYPE OMSetRenderTargets(
        UINT numViews,
        ID3D11RenderTargetView* const* renderTargetViews,
        ID3D11DepthStencilView* depthStencilView
    ) override
    {
        mInner->OMSetRenderTargets(numViews, renderTargetViews, depthStencilView);
    }

    void STDMETHODCALLTYPE OMSetRenderTargetsAndUnorderedAccessViews(
        UINT numTargets,
        ID3D11RenderTargetView* const* renderTargetViews,
        ID3D11DepthStencilView* depthStencilView,
        UINT viewStartSlot,
        UINT numViews,
        ID3D11UnorderedAccessView* const* unorderedAccessViews,
        const UINT* initialCounts
    ) override
    {
        mInner->OMSetRenderTargetsAndUnorderedAccessViews(
            numTargets,
            renderTargetViews,
            depthStencilView,
            viewStartSlot,
            numViews,
            unorderedAccessViews,
            initialCounts
        );
    }

    void STDMETHODCALLTYPE
    OMSetBlendState(ID3D11BlendState* blendState, const FLOAT* blendFactor, UINT sampleMask) override
    {
        mInner->OMSetBlendState(blendState, blendFactor, sampleMask);
    }

    void STDMETHODCALLTYPE
    OMSetDepthStencilState(ID3D11DepthStencilState* depthStencilState, UINT stencilRef) override
    {
        mInner->OMSetDepthStencilState(depthStencilState, stencilRef);
    }

    void STDMETHODCALLTYPE OMGetRenderTargets(
        UINT numViews, ID3D11RenderTargetView** renderTargetViews, ID3D11DepthStencilView** depthStencilView
    ) override
    {
        mInner->OMGetRenderTargets(numViews, renderTargetViews, depthStencilView);
    }

    void STDMETHODCALLTYPE OMGetRenderTargetsAndUnorderedAccessViews(
        UINT numTargets,
        ID3D11RenderTargetView** renderTargetViews,
        ID3D11DepthStencilView** depthStencilView,
        UINT viewStartSlot,
        UINT numViews,
        ID3D11UnorderedAccessView** unorderedAccessViews
    ) override
    {
        mInner->OMGetRenderTargetsAndUnorderedAccessViews(
            numTargets, renderTargetViews, depthStencilView, viewStartSlot, numViews, unorderedAccessViews
        );
    }

    void STDMETHODCALLTYPE
    OMGetBlendState(ID3D11BlendState** blendState, FLOAT* blendFactor, UINT* sampleMask) override
    {
        mInner->OMGetBlendState(blendState, blendFactor, sampleMask);
    }

    void STDMETHODCALLTYPE
    OMGetDepthStencilState(ID3D11DepthStencilState** depthStencilState, UINT* stencilRef) override
    {
        mInner->OMGetDepthStencilState(depthStencilState, stencilRef);
    }

    // drawing
    void STDMETHODCALLTYPE
    DrawIndexed(UINT indexCount, UINT startIndexLocation, INT baseVertexLocation) override
    {
        mInner->DrawIndexed(indexCount, startIndexLocation, baseVertexLocation);
    }

    void STDMETHODCALLTYPE Draw(UINT vertexCount, UINT startVertexLocation) override
    {
        mInner->Draw(vertexCount, startVertexLocation);
    }

    void STDMETHODCALLTYPE DrawIndexedInstanced(
        UINT indexCountPerInstance,
        UINT instanceCount,
        UINT startIndexLocation,
        INT baseVertexLocation,
        UINT startInstanceLocation
    ) override
    {
        mInner->DrawIndexedInstanced(
            indexCountPerInstance,
            instanceCount,
            startIndexLocation,
            baseVertexLocation,
            startInstanceLocation
        );
    }

    void STDMETHODCALLTYPE DrawInstanced(
        UINT vertexCountPerInstance, UINT instanceCount, UINT startVertexLocation, UINT startInstanceLocation
    ) override
    {
        mInner->DrawInstanced(
            vertexCountPerInstance, instanceCount, startVertexLocation, startInstanceLocation
        );
    }

    void STDMETHODCALLTYPE DrawAuto() override { mInner->DrawAuto(); }

    void STDMETHODCALLTYPE
    DrawIndexedInstancedIndirect(ID3D11Buffer* bufferForArgs, UINT alignedByteOffsetForArgs) override
    {
        mInner->DrawIndexedInstancedIndirect(bufferForArgs, alignedByteOffsetForArgs);
    }

    void STDMETHODCALLTYPE
    DrawInstancedIndirect(ID3D11Buffer* bufferForArgs, UINT alignedByteOffsetForArgs) override
    {
        mInner->DrawInstancedIndirect(bufferForArgs, alignedByteOffsetForArgs);
    }

    void STDMETHODCALLTYPE
    Dispatch(UINT threadGroupCountX, UINT threadGroupCountY, UINT threadGroupCountZ) override
    {
        mInner->Dispatch(threadGroupCountX, threadGroupCountY, threadGroupCountZ);
    }

    void STDMETHODCALLTYPE
    DispatchIndirect(ID3D11Buffer* bufferForArgs, UINT alignedByteOffsetForArgs) override
    {
        mInner->DispatchIndirect(bufferForArgs, alignedByteOffsetForArgs);
    }

    // resources
    HRESULT STDMETHODCALLTYPE
    Map(ID3D11Resource* resource,
        UINT subresource,
        D3D11_MAP mapType,
        UINT mapFlags,
        D3D11_MAPPED_SUBRESOURCE* mappedResource) override
    {
        return mInner->Map(resource, subresource, mapType, mapFlags, mappedResource);
    }

    void STDMETHODCALLTYPE Unmap(ID3D11Resource* resource, UINT subresource) override
    {
        mInner->Unmap(resource, subresource);
    }

    void STDMETHODCALLTYPE CopySubresourceRegion(
        ID3D11Resource* dstResource,
        UINT dstSubresource,
        UINT dstX,
        UINT dstY,
        UINT dstZ,
        ID3D11Resource* srcResource,
        UINT srcSubresource,
        const D3D11_BOX* srcBox
    ) override
    {
        mInner->CopySubresourceRegion(
            dstResource, dstSubresource, dstX, dstY, dstZ, srcResource, srcSubresource, srcBox
        );
    }

    void STDMETHODCALLTYPE CopyResource(ID3D11Resource* dstResource, ID3D11Resource* srcResource) override
    {
        mInner->CopyResource(dstResource, srcResource);
    }

    void STDMETHODCALLTYPE UpdateSubresource(
        ID3D11Resource* dstResource,
        UINT dstSubresource,
        const D3D11_BOX* dstBox,
        const void* srcData,
        UINT srcRowPitch,
        UINT srcDepthPitch
    ) override
    {
        mInner->UpdateSubresource(dstResource, dstSubresource, dstBox, srcData, srcRowPitch, srcDepthPitch);
    }

    void STDMETHODCALLTYPE CopyStructureCount(
        ID3D11Buffer* dstBuffer, UINT dstAlignedByteOffset, ID3D11UnorderedAccessView* srcView
    ) override
    {
        mInner->CopyStructureCount(dstBuffer, dstAlignedByteOffset, srcView);
    }

    void STDMETHODCALLTYPE
    ClearRenderTargetView(ID3D11RenderTargetView* renderTargetView, const FLOAT* colorRGBA) override
    {
        mInner->ClearRenderTargetView(renderTargetView, colorRGBA);
    }

    void STDMETHODCALLTYPE
    ClearUnorderedAccessViewUint(ID3D11UnorderedAccessView* unorderedAccessView, const UINT* values) override
    {
        mInner->ClearUnorderedAccessViewUint(unorderedAccessView, values);
    }

    void STDMETHODCALLTYPE ClearUnorderedAccessViewFloat(
        ID3D11UnorderedAccessView* unorderedAccessView, const FLOAT* values
    ) override
    {
        mInner->ClearUnorderedAccessViewFloat(unorderedAccessView, values);
    }

    void STDMETHODCALLTYPE ClearDepthStencilView(
        ID3D11DepthStencilView* depthStencilView, UINT clearFlags, FLOAT depth, UINT8 stencil
    ) override
    {
        mInner->ClearDepthStencilView(depthStencilView, clearFlags, depth, stencil);
    }

    void STDMETHODCALLTYPE GenerateMips(ID3D11ShaderResourceView* shaderResourceView) override
    {
        mInner->GenerateMips(shaderResourceView);
    }

    void STDMETHODCALLTYPE SetResourceMinLOD(ID3D11Resource* resource, FLOAT minLOD) override
    {
        mInner->SetResourceMinLOD(resource, minLOD);
    }

    FLOAT STDMETHODCALLTYPE GetResourceMinLOD(ID3D11Resource* resource) override
    {
        return mInner->GetResourceMinLOD(resource);
    }

    void STDMETHODCALLTYPE ResolveSubresource(
        ID3D11Resource* dstResource,
        UINT dstSubresource,
        ID3D11Resource* srcResource,
        UINT srcSubresource,
        DXGI_FORMAT format
    ) override
    {
        mInner->ResolveSubresource(dstResource, dstSubresource, srcResource, srcSubresource, format);
    }

    // the context itself
    void STDMETHODCALLTYPE Begin(ID3D11Asynchronous* async) override { mInner->Begin(async); }

    void STDMETHODCALLTYPE End(ID3D11Asynchronous* async) override { mInner->End(async); }

    HRESULT STDMETHODCALLTYPE
    GetData(ID3D11Asynchronous* async, void* data, UINT dataSize, UINT getDataFlags) override
    {
        return mInner->GetData(async, data, dataSize, getDataFlags);
    }

    void STDMETHODCALLTYPE SetPredication(ID3D11Predicate* predicate, BOOL predicateValue) override
    {
        mInner->SetPredication(predicate, predicateValue);
    }

    void STDMETHODCALLTYPE
    ExecuteCommandList(ID3D11CommandList* commandList, BOOL restoreContextState) override
    {
        mInner->ExecuteCommandList(commandList, restoreContextState);
    }

    void STDMETHODCALLTYPE GetPredication(ID3D11Predicate** predicate, BOOL* predicateValue) override
    {
        mInner->GetPredication(predicate, predicateValue);
    }

    void STDMETHODCALLTYPE ClearState() override { mInner->ClearState(); }

    void STDMETHODCALLTYPE Flush() override { mInner->Flush(); }

    D3D11_DEVICE_CONTEXT_TYPE STDMETHODCALLTYPE GetType() override { return mInner->GetType(); }

    UINT STDMETHODCALLTYPE GetContextFlags() override { return mInner->GetContextFlags(); }

    HRESULT STDMETHODCALLTYPE
    FinishCommandList(BOOL restoreDeferredContextState, ID3D11CommandList** commandList) override
    {
        return mInner->FinishCommandList(restoreDeferredContextState, commandList);
    }

private:
    Render::CComPtr<ID3D11DeviceContext> mInner;
};

#undef FORWARD_STAGE
#undef FORWARD_SLOTS
