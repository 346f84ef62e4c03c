#include "tests/support/StrictDevice.h"
#include "tests/support/directRules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>

using Render::CComPtr;

namespace
{
using Kind = ShaderBinding::Kind;

void expectAllowed(const std::string& violation)
{
    if (!violation.empty())
    {
        ADD_FAILURE() << "Direct3D 11 does not allow this: " << violation;
    }
}

CComPtr<ID3D11Resource> resourceOf(ID3D11View* view)
{
    CComPtr<ID3D11Resource> resource;
    if (view != nullptr)
    {
        view->GetResource(resource.put());
    }
    return resource;
}

template <class Object>
using Getter = void (STDMETHODCALLTYPE ID3D11DeviceContext::*)(UINT, UINT, Object**);

struct Stage
{
    const char* name;
    Getter<ID3D11ShaderResourceView> views;
    Getter<ID3D11SamplerState> samplers;
    Getter<ID3D11Buffer> constants;
};

enum StageIndex
{
    kVertex,
    kGeometry,
    kPixel,
    kCompute
};

#define STAGE(Prefix)                                                                                   \
    {                                                                                                   \
#Prefix, &ID3D11DeviceContext::Prefix##GetShaderResources,                                      \
            &ID3D11DeviceContext::Prefix##GetSamplers, &ID3D11DeviceContext::Prefix##GetConstantBuffers \
    }
constexpr std::array<Stage, 4> kStages{{STAGE(VS), STAGE(GS), STAGE(PS), STAGE(CS)}};
#undef STAGE

/// The objects in the first slots of a stage, without references of their own: the context keeps them.
template <class Object, std::size_t count>
std::array<Object*, count> objectsAt(ID3D11DeviceContext* context, Getter<Object> get)
{
    std::array<Object*, count> objects{};
    (context->*get)(0, count, objects.data());
    for (Object* const object : objects)
    {
        if (object != nullptr)
        {
            object->Release();
        }
    }
    return objects;
}

template <class Object>
CComPtr<Object> objectAt(ID3D11DeviceContext* context, Getter<Object> get, UINT slot)
{
    CComPtr<Object> object;
    (context->*get)(slot, 1, object.put());
    return object;
}

constexpr UINT kViewSlots = D3D11_COMMONSHADER_INPUT_RESOURCE_SLOT_COUNT;
constexpr UINT kUnorderedSlots = D3D11_PS_CS_UAV_REGISTER_COUNT;

std::set<ID3D11Resource*> resourcesOfTargets(ID3D11DeviceContext* context)
{
    std::array<ID3D11RenderTargetView*, D3D11_SIMULTANEOUS_RENDER_TARGET_COUNT> views{};
    CComPtr<ID3D11DepthStencilView> depthView;
    context->OMGetRenderTargets(static_cast<UINT>(views.size()), views.data(), depthView.put());
    std::set<ID3D11Resource*> resources{resourceOf(depthView).get()};
    for (ID3D11RenderTargetView* const raw : views)
    {
        CComPtr<ID3D11RenderTargetView> view;
        view.attach(raw);
        resources.insert(resourceOf(view).get());
    }
    resources.erase(nullptr);
    return resources;
}

std::set<ID3D11Resource*> resourcesOfUnordered(ID3D11DeviceContext* context)
{
    std::set<ID3D11Resource*> resources;
    for (ID3D11UnorderedAccessView* const view : objectsAt<ID3D11UnorderedAccessView, kUnorderedSlots>(
             context, &ID3D11DeviceContext::CSGetUnorderedAccessViews
         ))
    {
        resources.insert(resourceOf(view).get());
    }
    resources.erase(nullptr);
    return resources;
}

std::set<ID3D11Resource*> resourcesOfShaderViews(ID3D11DeviceContext* context)
{
    std::set<ID3D11Resource*> resources;
    for (const Stage& stage : kStages)
    {
        for (ID3D11ShaderResourceView* const view :
             objectsAt<ID3D11ShaderResourceView, kViewSlots>(context, stage.views))
        {
            resources.insert(resourceOf(view).get());
        }
    }
    resources.erase(nullptr);
    return resources;
}

struct BoundVertices
{
    CComPtr<ID3D11Buffer> buffer;
    UINT stride = 0;
    UINT offset = 0;
};

BoundVertices verticesAt(ID3D11DeviceContext* context, UINT slot)
{
    BoundVertices bound;
    context->IAGetVertexBuffers(slot, 1, bound.buffer.put(), &bound.stride, &bound.offset);
    return bound;
}

D3D11_BUFFER_DESC descOf(ID3D11Buffer* buffer)
{
    D3D11_BUFFER_DESC desc{};
    buffer->GetDesc(&desc);
    return desc;
}

/// The dimension of a view as shaders declare it, and whether it is raw.
std::pair<std::uint32_t, bool> shapeOf(ID3D11ShaderResourceView* view)
{
    D3D11_SHADER_RESOURCE_VIEW_DESC desc{};
    view->GetDesc(&desc);
    switch (desc.ViewDimension)
    {
        case D3D11_SRV_DIMENSION_BUFFER:
            return {1, false};
        case D3D11_SRV_DIMENSION_BUFFEREX:
            return {1, (desc.BufferEx.Flags & D3D11_BUFFEREX_SRV_FLAG_RAW) != 0};
        case D3D11_SRV_DIMENSION_TEXTURE1D:
            return {2, false};
        case D3D11_SRV_DIMENSION_TEXTURE2D:
            return {3, false};
        default:
            return {0, false};
    }
}

UINT structureOf(ID3D11View* view)
{
    const CComPtr<ID3D11Resource> resource = resourceOf(view);
    D3D11_RESOURCE_DIMENSION dimension = D3D11_RESOURCE_DIMENSION_UNKNOWN;
    resource->GetType(&dimension);
    return dimension == D3D11_RESOURCE_DIMENSION_BUFFER
               ? descOf(static_cast<ID3D11Buffer*>(resource.get())).StructureByteStride
               : 0;
}

std::string brokenByView(const ShaderBinding& binding, ID3D11ShaderResourceView* view)
{
    if (view == nullptr)
    {
        return "no shader view";
    }
    const auto [dimension, isRaw] = shapeOf(view);
    switch (binding.kind)
    {
        case Kind::RawView:
            return isRaw ? "" : "a shader view that is not raw";
        case Kind::StructuredView:
            return structureOf(view) == binding.size ? "" : "a shader view of other structures";
        default:
            return dimension == binding.dimension && !isRaw ? "" : "a shader view of another dimension";
    }
}

std::string brokenByUnordered(const ShaderBinding& binding, ID3D11UnorderedAccessView* view)
{
    if (view == nullptr)
    {
        return "no unordered view";
    }
    D3D11_UNORDERED_ACCESS_VIEW_DESC desc{};
    view->GetDesc(&desc);
    const bool isRaw = desc.ViewDimension == D3D11_UAV_DIMENSION_BUFFER &&
                       (desc.Buffer.Flags & D3D11_BUFFER_UAV_FLAG_RAW) != 0;
    if (isRaw != (binding.kind == Kind::RawUav))
    {
        return "an unordered view that is raw, or not raw, unlike the shader's";
    }
    return binding.kind == Kind::StructuredUav && structureOf(view) != binding.size
               ? "an unordered view of other structures"
               : "";
}

/// Inputs of the pixel stage that the rasterizer gives.
bool isGenerated(const ShaderSignatureElement& input)
{
    constexpr std::uint32_t kPrimitive = 7;
    constexpr std::uint32_t kIsFrontFace = 9;
    constexpr std::uint32_t kSample = 10;
    return input.systemValue == kPrimitive || input.systemValue == kIsFrontFace ||
           input.systemValue == kSample;
}

std::string brokenLink(const ShaderFacts& giver, const ShaderFacts& taker)
{
    for (const ShaderSignatureElement& input : taker.inputs)
    {
        if (isGenerated(input))
        {
            continue;
        }
        const auto gives = [&input](const ShaderSignatureElement& output)
        {
            return output.name == input.name && output.index == input.index && output.slot == input.slot &&
                   output.componentType == input.componentType && (input.usedMask & ~output.mask) == 0;
        };
        if (std::none_of(giver.outputs.begin(), giver.outputs.end(), gives))
        {
            return "draw with a stage that does not give " + input.name + " as the next one takes it";
        }
    }
    return "";
}
}  // namespace

StrictContext::StrictContext(
    ID3D11DeviceContext* inner, StrictDevice& device, const ObjectFacts& facts, CallFaults& faults
)
    : ForwardingContext(inner), mDevice(device), mFacts(facts), mFaults(faults)
{
}

ULONG StrictContext::AddRef()
{
    mDevice.addUse();
    return ++mReferences;
}

ULONG StrictContext::Release()
{
    const ULONG left = --mReferences;
    mDevice.endUse();
    return left;
}

HRESULT StrictContext::QueryInterface(REFIID id, void** object)
{
    if (id == __uuidof(ID3D11DeviceContext) || id == __uuidof(IUnknown))
    {
        AddRef();
        *object = static_cast<ID3D11DeviceContext*>(this);
        return S_OK;
    }
    return ForwardingContext::QueryInterface(id, object);
}

void StrictContext::GetDevice(ID3D11Device** device)
{
    mDevice.AddRef();
    *device = &mDevice;
}

void StrictContext::checkNotWritten(UINT count, ID3D11ShaderResourceView* const* views) const
{
    const bool isAny =
        std::any_of(views, views + count, [](ID3D11ShaderResourceView* view) { return view != nullptr; });
    if (!isAny)
    {
        return;
    }
    const std::set<ID3D11Resource*> targets = resourcesOfTargets(inner());
    const std::set<ID3D11Resource*> unordered = resourcesOfUnordered(inner());
    for (UINT i = 0; i < count; ++i)
    {
        const CComPtr<ID3D11Resource> resource = resourceOf(views[i]);
        expectAllowed(targets.contains(resource) ? "a shader view of a resource that is a target" : "");
        expectAllowed(
            unordered.contains(resource) ? "a shader view of a resource that is written unordered" : ""
        );
    }
}

#define STRICT_VIEWS(Prefix)                                                    \
    void StrictContext::Prefix##SetShaderResources(                             \
        UINT startSlot, UINT count, ID3D11ShaderResourceView* const* views      \
    )                                                                           \
    {                                                                           \
        checkNotWritten(count, views);                                          \
        ForwardingContext::Prefix##SetShaderResources(startSlot, count, views); \
    }
STRICT_VIEWS(VS)
STRICT_VIEWS(GS)
STRICT_VIEWS(PS)
STRICT_VIEWS(CS)
#undef STRICT_VIEWS

void StrictContext::checkUnordered(UINT count, ID3D11UnorderedAccessView* const* views) const
{
    std::set<ID3D11Resource*> read = resourcesOfShaderViews(inner());
    for (UINT slot = 0; slot < D3D11_IA_VERTEX_INPUT_RESOURCE_SLOT_COUNT; ++slot)
    {
        read.insert(verticesAt(inner(), slot).buffer.get());
    }
    CComPtr<ID3D11Buffer> indices;
    DXGI_FORMAT format = DXGI_FORMAT_UNKNOWN;
    UINT offset = 0;
    inner()->IAGetIndexBuffer(indices.put(), &format, &offset);
    read.insert(indices.get());
    const std::set<ID3D11Resource*> targets = resourcesOfTargets(inner());
    std::set<ID3D11Resource*> seen;
    for (UINT i = 0; i < count; ++i)
    {
        const CComPtr<ID3D11Resource> resource = resourceOf(views[i]);
        if (resource == nullptr)
        {
            continue;
        }
        expectAllowed(
            read.contains(resource) ? "an unordered view of a resource that is bound for reading" : ""
        );
        expectAllowed(targets.contains(resource) ? "an unordered view of a resource that is a target" : "");
        expectAllowed(seen.insert(resource).second ? "" : "two unordered views of a resource");
    }
}

void StrictContext::CSSetUnorderedAccessViews(
    UINT startSlot, UINT count, ID3D11UnorderedAccessView* const* views, const UINT* initialCounts
)
{
    checkUnordered(count, views);
    ForwardingContext::CSSetUnorderedAccessViews(startSlot, count, views, initialCounts);
}

void StrictContext::checkTargets(
    UINT count, ID3D11RenderTargetView* const* views, ID3D11DepthStencilView* depthView
) const
{
    expectAllowed(DirectRules::brokenByTargets(count, views, depthView));

    const std::set<ID3D11Resource*> read = resourcesOfShaderViews(inner());
    const std::set<ID3D11Resource*> unordered = resourcesOfUnordered(inner());
    std::set<ID3D11Resource*> targets{resourceOf(depthView).get()};
    for (UINT i = 0; i < count; ++i)
    {
        targets.insert(resourceOf(views[i]).get());
    }
    targets.erase(nullptr);
    for (ID3D11Resource* const target : targets)
    {
        expectAllowed(read.contains(target) ? "a target whose resource is bound as a shader view" : "");
        expectAllowed(unordered.contains(target) ? "a target whose resource is written unordered" : "");
    }
}

void StrictContext::OMSetRenderTargets(
    UINT count, ID3D11RenderTargetView* const* views, ID3D11DepthStencilView* depthView
)
{
    checkTargets(count, views, depthView);
    ForwardingContext::OMSetRenderTargets(count, views, depthView);
}

void StrictContext::RSSetViewports(UINT count, const D3D11_VIEWPORT* viewports)
{
    expectAllowed(DirectRules::brokenByViewports(count, viewports));
    ForwardingContext::RSSetViewports(count, viewports);
}

void StrictContext::ClearDepthStencilView(
    ID3D11DepthStencilView* view, UINT flags, FLOAT depth, UINT8 stencil
)
{
    expectAllowed(DirectRules::brokenByDepthClear(flags, depth));
    ForwardingContext::ClearDepthStencilView(view, flags, depth, stencil);
}

void StrictContext::ClearUnorderedAccessViewUint(ID3D11UnorderedAccessView* view, const UINT* values)
{
    checkUnmapped(resourceOf(view), "clear");
    ForwardingContext::ClearUnorderedAccessViewUint(view, values);
}

HRESULT StrictContext::Map(
    ID3D11Resource* resource, UINT subresource, D3D11_MAP type, UINT flags, D3D11_MAPPED_SUBRESOURCE* mapped
)
{
    if (const HRESULT planned = mFaults.before("Map"); FAILED(planned))
    {
        return planned;
    }
    const HRESULT result = ForwardingContext::Map(resource, subresource, type, flags, mapped);
    if (SUCCEEDED(result))
    {
        expectAllowed(DirectRules::brokenByMap(resource, type));
        expectAllowed(mMapped.emplace(resource, subresource).second ? "" : "Map of what is mapped already");
    }
    return result;
}

void StrictContext::Unmap(ID3D11Resource* resource, UINT subresource)
{
    expectAllowed(mMapped.erase({resource, subresource}) != 0 ? "" : "Unmap of what is not mapped");
    ForwardingContext::Unmap(resource, subresource);
}

void StrictContext::checkUnmapped(ID3D11Resource* resource, const char* use) const
{
    const auto found = mMapped.lower_bound({resource, 0});
    if (resource != nullptr && found != mMapped.end() && found->first == resource)
    {
        expectAllowed(std::string(use) + " of what is mapped");
    }
}

void StrictContext::CopyResource(ID3D11Resource* destination, ID3D11Resource* source)
{
    expectAllowed(DirectRules::brokenByCopy(destination, source));
    checkUnmapped(destination, "copy");
    checkUnmapped(source, "copy");
    ForwardingContext::CopyResource(destination, source);
}

void StrictContext::CopySubresourceRegion(
    ID3D11Resource* destination,
    UINT destinationSubresource,
    UINT x,
    UINT y,
    UINT z,
    ID3D11Resource* source,
    UINT sourceSubresource,
    const D3D11_BOX* box
)
{
    expectAllowed(DirectRules::brokenByRegionCopy(
        destination, destinationSubresource, x, y, z, source, sourceSubresource, box
    ));
    checkUnmapped(destination, "copy");
    checkUnmapped(source, "copy");
    ForwardingContext::CopySubresourceRegion(
        destination, destinationSubresource, x, y, z, source, sourceSubresource, box
    );
}

void StrictContext::UpdateSubresource(
    ID3D11Resource* resource,
    UINT subresource,
    const D3D11_BOX* box,
    const void* data,
    UINT rowPitch,
    UINT depthPitch
)
{
    expectAllowed(DirectRules::brokenByUpdate(resource, subresource, box));
    checkUnmapped(resource, "update");
    ForwardingContext::UpdateSubresource(resource, subresource, box, data, rowPitch, depthPitch);
}

void StrictContext::checkBindings(const ShaderFacts& shader, int stageIndex) const
{
    const Stage& stage = kStages[static_cast<std::size_t>(stageIndex)];
    for (const ShaderBinding& binding : shader.bindings)
    {
        const auto report = [&](const std::string& broken)
        {
            const std::string place = std::string(" at ") + stage.name + " " + std::to_string(binding.slot);
            expectAllowed(broken.empty() ? broken : "draw with " + broken + place);
        };
        switch (binding.kind)
        {
            case Kind::ConstantBuffer:
            {
                const auto buffer = objectAt(inner(), stage.constants, binding.slot);
                report(
                    buffer == nullptr                         ? "no constant buffer"
                    : descOf(buffer).ByteWidth < binding.size ? "too small a constant buffer"
                                                              : ""
                );
                checkUnmapped(buffer, "draw");
                break;
            }
            case Kind::Sampler:
                report(objectAt(inner(), stage.samplers, binding.slot) == nullptr ? "no sampler" : "");
                break;
            case Kind::View:
            case Kind::RawView:
            case Kind::StructuredView:
            {
                const auto view = objectAt(inner(), stage.views, binding.slot);
                report(brokenByView(binding, view));
                checkUnmapped(resourceOf(view), "draw");
                break;
            }
            default:
            {
                const auto view =
                    objectAt(inner(), &ID3D11DeviceContext::CSGetUnorderedAccessViews, binding.slot);
                report(stageIndex == kCompute ? brokenByUnordered(binding, view) : "");
                checkUnmapped(resourceOf(view), "dispatch");
                break;
            }
        }
    }
}

void StrictContext::checkVertices(UINT vertexEnd, UINT instanceEnd) const
{
    CComPtr<ID3D11VertexShader> shader;
    inner()->VSGetShader(shader.put(), nullptr, nullptr);
    CComPtr<ID3D11InputLayout> layout;
    inner()->IAGetInputLayout(layout.put());
    const std::vector<ObjectFacts::Element> elements = mFacts.layout(layout);
    for (const ShaderSignatureElement& input : mFacts.shader(shader).inputs)
    {
        if (input.systemValue != 0)
        {
            continue;
        }
        const auto found = std::find_if(
            elements.begin(),
            elements.end(),
            [&input](const ObjectFacts::Element& element)
            { return element.name == input.name && element.index == input.index; }
        );
        if (found == elements.end())
        {
            expectAllowed("draw without " + input.name + " in the input layout");
            continue;
        }
        const BoundVertices bound = verticesAt(inner(), found->slot);
        const UINT64 count = found->isPerInstance ? instanceEnd : vertexEnd;
        if (bound.buffer == nullptr)
        {
            expectAllowed("draw without a vertex buffer for " + input.name);
        }
        else if (count > 0)
        {
            const UINT64 end = bound.offset + (count - 1) * bound.stride + found->end;
            const bool isShort = end > descOf(bound.buffer).ByteWidth;
            expectAllowed(isShort ? "draw beyond the vertex buffer of " + input.name : "");
            const bool overlaps = bound.stride != 0 && found->end > bound.stride;
            expectAllowed(overlaps ? "draw with a stride below the element " + input.name : "");
        }
        checkUnmapped(bound.buffer, "draw");
    }
}

bool StrictContext::checkIndices(UINT startIndex, UINT indexCount) const
{
    CComPtr<ID3D11Buffer> indices;
    DXGI_FORMAT format = DXGI_FORMAT_UNKNOWN;
    UINT offset = 0;
    inner()->IAGetIndexBuffer(indices.put(), &format, &offset);
    if (indices == nullptr)
    {
        expectAllowed("draw without an index buffer");
        return false;  // which drivers may not survive
    }
    const UINT size = format == DXGI_FORMAT_R16_UINT ? 2 : 4;
    const bool isKnown = format == DXGI_FORMAT_R16_UINT || format == DXGI_FORMAT_R32_UINT;
    const UINT64 end = offset + (UINT64{startIndex} + indexCount) * size;
    expectAllowed(isKnown && offset % size == 0 ? "" : "draw with indices of another format or place");
    expectAllowed(end <= descOf(indices).ByteWidth ? "" : "draw beyond the index buffer");
    checkUnmapped(indices, "draw");
    return true;
}

void StrictContext::checkDraw(UINT vertexEnd, UINT instanceEnd) const
{
    CComPtr<ID3D11VertexShader> vertexShader;
    inner()->VSGetShader(vertexShader.put(), nullptr, nullptr);
    CComPtr<ID3D11GeometryShader> geometryShader;
    inner()->GSGetShader(geometryShader.put(), nullptr, nullptr);
    CComPtr<ID3D11PixelShader> pixelShader;
    inner()->PSGetShader(pixelShader.put(), nullptr, nullptr);
    expectAllowed(vertexShader == nullptr ? "draw without a vertex shader" : "");
    const ShaderFacts vertexFacts = mFacts.shader(vertexShader);
    checkBindings(vertexFacts, kVertex);
    ShaderFacts last = vertexFacts;
    if (geometryShader != nullptr)
    {
        last = mFacts.shader(geometryShader);
        checkBindings(last, kGeometry);
    }
    if (pixelShader != nullptr)
    {
        const ShaderFacts pixelFacts = mFacts.shader(pixelShader);
        checkBindings(pixelFacts, kPixel);
        expectAllowed(brokenLink(last, pixelFacts));
    }
    checkVertices(vertexEnd, instanceEnd);

    D3D11_PRIMITIVE_TOPOLOGY topology = D3D11_PRIMITIVE_TOPOLOGY_UNDEFINED;
    inner()->IAGetPrimitiveTopology(&topology);
    expectAllowed(topology == D3D11_PRIMITIVE_TOPOLOGY_UNDEFINED ? "draw without a topology" : "");
    UINT viewportCount = 0;
    inner()->RSGetViewports(&viewportCount, nullptr);
    expectAllowed(viewportCount == 0 ? "draw without a viewport" : "");
    for (ID3D11Resource* const target : resourcesOfTargets(inner()))
    {
        checkUnmapped(target, "draw");
    }
}

void StrictContext::Draw(UINT vertexCount, UINT startVertex)
{
    checkDraw(startVertex + vertexCount, 1);
    ForwardingContext::Draw(vertexCount, startVertex);
}

void StrictContext::DrawInstanced(UINT vertexCount, UINT instanceCount, UINT startVertex, UINT startInstance)
{
    checkDraw(startVertex + vertexCount, instanceCount == 0 ? 0 : startInstance + instanceCount);
    ForwardingContext::DrawInstanced(vertexCount, instanceCount, startVertex, startInstance);
}

void StrictContext::DrawIndexed(UINT indexCount, UINT startIndex, INT baseVertex)
{
    if (!checkIndices(startIndex, indexCount))
    {
        return;
    }
    checkDraw(0, 1);
    ForwardingContext::DrawIndexed(indexCount, startIndex, baseVertex);
}

void StrictContext::DrawIndexedInstanced(
    UINT indexCount, UINT instanceCount, UINT startIndex, INT baseVertex, UINT startInstance
)
{
    if (!checkIndices(startIndex, indexCount))
    {
        return;
    }
    checkDraw(0, instanceCount == 0 ? 0 : startInstance + instanceCount);
    ForwardingContext::DrawIndexedInstanced(indexCount, instanceCount, startIndex, baseVertex, startInstance);
}

void StrictContext::Dispatch(UINT x, UINT y, UINT z)
{
    constexpr UINT kMost = D3D11_CS_DISPATCH_MAX_THREAD_GROUPS_PER_DIMENSION;
    CComPtr<ID3D11ComputeShader> shader;
    inner()->CSGetShader(shader.put(), nullptr, nullptr);
    expectAllowed(shader == nullptr ? "dispatch without a compute shader" : "");
    expectAllowed(std::max({x, y, z}) <= kMost ? "" : "dispatch of more groups than there can be");
    checkBindings(mFacts.shader(shader), kCompute);
    ForwardingContext::Dispatch(x, y, z);
}
