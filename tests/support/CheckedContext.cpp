#include "tests/support/CheckedContext.h"

#include <array>
#include <sstream>

using Render::CComPtr;

namespace
{
template <class Object>
using Getter = void (STDMETHODCALLTYPE ID3D11DeviceContext::*)(UINT, UINT, Object**);

/// The objects in the first slots of a stage.
template <class Object>
std::vector<CComPtr<Object>> objectsAt(ID3D11DeviceContext* context, Getter<Object> get, UINT slotCount)
{
    std::vector<Object*> raw(slotCount, nullptr);
    (context->*get)(0, slotCount, raw.data());
    std::vector<CComPtr<Object>> objects(slotCount);
    for (UINT slot = 0; slot < slotCount; ++slot)
    {
        objects[slot].attach(raw[slot]);
    }
    return objects;
}

struct ViewGetter
{
    const char* stage;
    Getter<ID3D11ShaderResourceView> get;
};

constexpr std::array<ViewGetter, 4> kViewGetters{{
    {"VS", &ID3D11DeviceContext::VSGetShaderResources},
    {"GS", &ID3D11DeviceContext::GSGetShaderResources},
    {"PS", &ID3D11DeviceContext::PSGetShaderResources},
    {"CS", &ID3D11DeviceContext::CSGetShaderResources},
}};
constexpr UINT kViewSlots = D3D11_COMMONSHADER_INPUT_RESOURCE_SLOT_COUNT;

/// The targets and the depth view of a context.
std::vector<CComPtr<ID3D11View>> targetsOf(ID3D11DeviceContext* context)
{
    std::array<ID3D11RenderTargetView*, D3D11_SIMULTANEOUS_RENDER_TARGET_COUNT> raw{};
    ID3D11DepthStencilView* rawDepth = nullptr;
    context->OMGetRenderTargets(static_cast<UINT>(raw.size()), raw.data(), &rawDepth);
    std::vector<CComPtr<ID3D11View>> views;
    const auto take = [&views](ID3D11View* view) { views.emplace_back().attach(view); };
    for (ID3D11RenderTargetView* const view : raw)
    {
        take(view);
    }
    take(rawDepth);
    return views;
}
}  // namespace

std::string CheckedContext::nameOf(const IUnknown* object) const
{
    if (object == nullptr)
    {
        return "null";
    }
    const auto found = mNames.find(object);
    return found == mNames.end() ? "?" : found->second;
}

template <class... Words>
void CheckedContext::write(const Words&... words)
{
    std::ostringstream line;
    const char* separator = "";
    ((line << separator << words, separator = " "), ...);
    mCalls.push_back(line.str());
}

#define WATCH_SLOTS(Function, Object)                                                 \
    void CheckedContext::Function(UINT startSlot, UINT count, Object* const* objects) \
    {                                                                                 \
        for (UINT i = 0; i < count; ++i)                                              \
        {                                                                             \
            write(#Function, startSlot + i, nameOf(objects[i]));                      \
        }                                                                             \
        ForwardingContext::Function(startSlot, count, objects);                       \
    }
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

#define WATCH_SHADER(Function, Object)                                                               \
    void CheckedContext::Function(Object* shader, ID3D11ClassInstance* const* instances, UINT count) \
    {                                                                                                \
        write(#Function, nameOf(shader));                                                            \
        ForwardingContext::Function(shader, instances, count);                                       \
    }
WATCH_SHADER(VSSetShader, ID3D11VertexShader)
WATCH_SHADER(GSSetShader, ID3D11GeometryShader)
WATCH_SHADER(PSSetShader, ID3D11PixelShader)
WATCH_SHADER(CSSetShader, ID3D11ComputeShader)
#undef WATCH_SHADER

void CheckedContext::IASetInputLayout(ID3D11InputLayout* layout)
{
    write("IASetInputLayout", nameOf(layout));
    ForwardingContext::IASetInputLayout(layout);
}

void CheckedContext::IASetVertexBuffers(
    UINT startSlot, UINT count, ID3D11Buffer* const* buffers, const UINT* strides, const UINT* offsets
)
{
    for (UINT i = 0; i < count; ++i)
    {
        write("IASetVertexBuffers", startSlot + i, nameOf(buffers[i]), strides[i], offsets[i]);
    }
    ForwardingContext::IASetVertexBuffers(startSlot, count, buffers, strides, offsets);
}

void CheckedContext::IASetIndexBuffer(ID3D11Buffer* buffer, DXGI_FORMAT format, UINT offset)
{
    write("IASetIndexBuffer", nameOf(buffer), static_cast<int>(format), offset);
    ForwardingContext::IASetIndexBuffer(buffer, format, offset);
}

void CheckedContext::IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY topology)
{
    write("IASetPrimitiveTopology", static_cast<int>(topology));
    ForwardingContext::IASetPrimitiveTopology(topology);
}

void CheckedContext::OMSetRenderTargets(
    UINT count, ID3D11RenderTargetView* const* views, ID3D11DepthStencilView* depthView
)
{
    std::string names;
    for (UINT i = 0; i < count; ++i)
    {
        names += nameOf(views[i]) + " ";
    }
    write("OMSetRenderTargets", count, names + nameOf(depthView));
    ForwardingContext::OMSetRenderTargets(count, views, depthView);
}

void CheckedContext::OMSetBlendState(ID3D11BlendState* state, const FLOAT* blendFactor, UINT sampleMask)
{
    write("OMSetBlendState", nameOf(state), sampleMask);
    ForwardingContext::OMSetBlendState(state, blendFactor, sampleMask);
}

void CheckedContext::OMSetDepthStencilState(ID3D11DepthStencilState* state, UINT stencilRef)
{
    write("OMSetDepthStencilState", nameOf(state), stencilRef);
    ForwardingContext::OMSetDepthStencilState(state, stencilRef);
}

void CheckedContext::RSSetState(ID3D11RasterizerState* state)
{
    write("RSSetState", nameOf(state));
    ForwardingContext::RSSetState(state);
}

void CheckedContext::Draw(UINT vertexCount, UINT startVertex)
{
    write("Draw", vertexCount, startVertex);
    ForwardingContext::Draw(vertexCount, startVertex);
}

void CheckedContext::DrawInstanced(UINT vertexCount, UINT instanceCount, UINT startVertex, UINT startInstance)
{
    write("DrawInstanced", vertexCount, instanceCount, startVertex, startInstance);
    ForwardingContext::DrawInstanced(vertexCount, instanceCount, startVertex, startInstance);
}

void CheckedContext::DrawIndexed(UINT indexCount, UINT startIndex, INT baseVertex)
{
    write("DrawIndexed", indexCount, startIndex, baseVertex);
    ForwardingContext::DrawIndexed(indexCount, startIndex, baseVertex);
}

HRESULT CheckedContext::Map(
    ID3D11Resource* resource, UINT subresource, D3D11_MAP type, UINT flags, D3D11_MAPPED_SUBRESOURCE* mapped
)
{
    write("Map", nameOf(resource), static_cast<int>(type));
    return ForwardingContext::Map(resource, subresource, type, flags, mapped);
}

void CheckedContext::Unmap(ID3D11Resource* resource, UINT subresource)
{
    write("Unmap", nameOf(resource));
    ForwardingContext::Unmap(resource, subresource);
}

void CheckedContext::CopyResource(ID3D11Resource* destination, ID3D11Resource* source)
{
    write("CopyResource", nameOf(destination), nameOf(source));
    ForwardingContext::CopyResource(destination, source);
}

void CheckedContext::CopySubresourceRegion(
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
    write("CopySubresourceRegion", nameOf(destination), x, y, z, nameOf(source));
    ForwardingContext::CopySubresourceRegion(
        destination, destinationSubresource, x, y, z, source, sourceSubresource, box
    );
}

void CheckedContext::ClearRenderTargetView(ID3D11RenderTargetView* view, const FLOAT* color)
{
    write("ClearRenderTargetView", nameOf(view), color[0], color[1], color[2], color[3]);
    ForwardingContext::ClearRenderTargetView(view, color);
}

void CheckedContext::ClearDepthStencilView(
    ID3D11DepthStencilView* view, UINT flags, FLOAT depth, UINT8 stencil
)
{
    write("ClearDepthStencilView", nameOf(view), flags, depth, static_cast<int>(stencil));
    ForwardingContext::ClearDepthStencilView(view, flags, depth, stencil);
}

void CheckedContext::ClearState()
{
    write("ClearState");
    ForwardingContext::ClearState();
}

std::vector<std::string> boundObjects(ID3D11DeviceContext* context)
{
    std::vector<std::string> found;
    const auto note = [&found](bool isBound, const std::string& what)
    {
        if (isBound)
        {
            found.push_back(what);
        }
    };
    const auto noteSlots = [&]<class Object>(const std::string& what, Getter<Object> get, UINT slotCount)
    {
        const auto objects = objectsAt(context, get, slotCount);
        for (UINT slot = 0; slot < slotCount; ++slot)
        {
            note(objects[slot] != nullptr, what + " " + std::to_string(slot));
        }
    };
    const auto noteShader =
        [&]<class Shader>(
            const char* what,
            void (STDMETHODCALLTYPE ID3D11DeviceContext::*get)(Shader**, ID3D11ClassInstance**, UINT*)
        )
    {
        CComPtr<Shader> shader;
        (context->*get)(shader.put(), nullptr, nullptr);
        note(shader != nullptr, what);
    };

    noteShader("VS shader", &ID3D11DeviceContext::VSGetShader);
    noteShader("GS shader", &ID3D11DeviceContext::GSGetShader);
    noteShader("PS shader", &ID3D11DeviceContext::PSGetShader);
    noteShader("CS shader", &ID3D11DeviceContext::CSGetShader);
    for (const ViewGetter& getter : kViewGetters)
    {
        noteSlots(std::string(getter.stage) + " shader resource", getter.get, kViewSlots);
    }
    constexpr UINT kSamplers = D3D11_COMMONSHADER_SAMPLER_SLOT_COUNT;
    noteSlots("VS sampler", &ID3D11DeviceContext::VSGetSamplers, kSamplers);
    noteSlots("GS sampler", &ID3D11DeviceContext::GSGetSamplers, kSamplers);
    noteSlots("PS sampler", &ID3D11DeviceContext::PSGetSamplers, kSamplers);
    noteSlots("CS sampler", &ID3D11DeviceContext::CSGetSamplers, kSamplers);
    constexpr UINT kConstantBuffers = D3D11_COMMONSHADER_CONSTANT_BUFFER_API_SLOT_COUNT;
    noteSlots("VS constant buffer", &ID3D11DeviceContext::VSGetConstantBuffers, kConstantBuffers);
    noteSlots("GS constant buffer", &ID3D11DeviceContext::GSGetConstantBuffers, kConstantBuffers);
    noteSlots("PS constant buffer", &ID3D11DeviceContext::PSGetConstantBuffers, kConstantBuffers);
    noteSlots("CS constant buffer", &ID3D11DeviceContext::CSGetConstantBuffers, kConstantBuffers);

    CComPtr<ID3D11InputLayout> layout;
    context->IAGetInputLayout(layout.put());
    note(layout != nullptr, "input layout");
    CComPtr<ID3D11Buffer> indices;
    DXGI_FORMAT indexFormat = DXGI_FORMAT_UNKNOWN;
    UINT indexOffset = 0;
    context->IAGetIndexBuffer(indices.put(), &indexFormat, &indexOffset);
    note(indices != nullptr, "index buffer");
    for (UINT slot = 0; slot < D3D11_IA_VERTEX_INPUT_RESOURCE_SLOT_COUNT; ++slot)
    {
        CComPtr<ID3D11Buffer> vertices;
        UINT stride = 0;
        UINT offset = 0;
        context->IAGetVertexBuffers(slot, 1, vertices.put(), &stride, &offset);
        note(vertices != nullptr, "vertex buffer " + std::to_string(slot));
    }

    const auto targets = targetsOf(context);
    for (std::size_t i = 0; i < targets.size(); ++i)
    {
        const bool isDepth = i + 1 == targets.size();
        note(targets[i] != nullptr, isDepth ? "depth view" : "target " + std::to_string(i));
    }
    return found;
}
