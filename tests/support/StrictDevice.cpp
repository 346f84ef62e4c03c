#include "tests/support/StrictDevice.h"

#include "tests/support/createRules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>

namespace
{
void expectAllowed(const std::string& violation)
{
    if (!violation.empty())
    {
        ADD_FAILURE() << "Direct3D 11 does not allow this: " << violation;
    }
}

/// What the driver refuses by itself needs no rule.
HRESULT checked(HRESULT result, const std::string& violation)
{
    if (SUCCEEDED(result))
    {
        expectAllowed(violation);
    }
    return result;
}

/// Bytes of the formats of vertex elements in use here.
UINT sizeOf(DXGI_FORMAT format)
{
    switch (format)
    {
        case DXGI_FORMAT_R32G32B32A32_FLOAT:
        case DXGI_FORMAT_R32G32B32A32_UINT:
            return 16;
        case DXGI_FORMAT_R32G32B32_FLOAT:
            return 12;
        case DXGI_FORMAT_R32G32_FLOAT:
            return 8;
        case DXGI_FORMAT_R8_UNORM:
        case DXGI_FORMAT_R8_UINT:
            return 1;
        case DXGI_FORMAT_R16_UINT:
            return 2;
        default:
            return 4;
    }
}

std::span<const std::byte> bytesOf(const void* bytecode, SIZE_T size)
{
    return {static_cast<const std::byte*>(bytecode), bytecode != nullptr ? size : 0};
}
}  // namespace

void ObjectFacts::keep(const IUnknown* shader, ShaderFacts facts)
{
    const std::scoped_lock lock(mMutex);
    mShaders[shader] = std::move(facts);
}

void ObjectFacts::keep(const IUnknown* layout, const D3D11_INPUT_ELEMENT_DESC* elements, UINT count)
{
    std::vector<Element> kept;
    std::map<UINT, UINT> ends;  // by slot
    for (UINT i = 0; i < count; ++i)
    {
        const D3D11_INPUT_ELEMENT_DESC& element = elements[i];
        const UINT size = sizeOf(element.Format);
        UINT& end = ends[element.InputSlot];
        const UINT alignment = std::min(size, 4U);
        const UINT appended = (end + alignment - 1) / alignment * alignment;
        const bool isAppended = element.AlignedByteOffset == D3D11_APPEND_ALIGNED_ELEMENT;
        end = (isAppended ? appended : element.AlignedByteOffset) + size;
        std::string name(element.SemanticName);
        for (char& letter : name)
        {
            letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
        }
        kept.push_back(
            {std::move(name),
             element.SemanticIndex,
             element.InputSlot,
             end,
             element.InputSlotClass == D3D11_INPUT_PER_INSTANCE_DATA}
        );
    }
    const std::scoped_lock lock(mMutex);
    mLayouts[layout] = std::move(kept);
}

ShaderFacts ObjectFacts::shader(const IUnknown* object) const
{
    const std::scoped_lock lock(mMutex);
    const auto found = mShaders.find(object);
    return found != mShaders.end() ? found->second : ShaderFacts();
}

std::vector<ObjectFacts::Element> ObjectFacts::layout(const IUnknown* object) const
{
    const std::scoped_lock lock(mMutex);
    const auto found = mLayouts.find(object);
    return found != mLayouts.end() ? found->second : std::vector<Element>();
}

StrictDevice::StrictDevice(ID3D11Device* inner, ID3D11DeviceContext* innerContext)
    : ForwardingDevice(inner), mContext(innerContext, *this, mFacts, mFaults)
{
}

ULONG StrictDevice::AddRef()
{
    addUse();
    return ++mReferences;
}

ULONG StrictDevice::Release()
{
    const ULONG left = --mReferences;
    endUse();
    return left;
}

void StrictDevice::endUse() noexcept
{
    if (--mUses == 0)
    {
        delete this;
    }
}

HRESULT StrictDevice::QueryInterface(REFIID id, void** object)
{
    if (id == __uuidof(ID3D11Device) || id == __uuidof(IUnknown))
    {
        AddRef();
        *object = static_cast<ID3D11Device*>(this);
        return S_OK;
    }
    return ForwardingDevice::QueryInterface(id, object);
}

void StrictDevice::GetImmediateContext(ID3D11DeviceContext** context)
{
    mContext.AddRef();
    *context = &mContext;
}

HRESULT StrictDevice::GetDeviceRemovedReason()
{
    const HRESULT reason = mFaults.removedReason();
    return FAILED(reason) ? reason : ForwardingDevice::GetDeviceRemovedReason();
}

// Fails when it is the call's turn to, and leaves then nothing made, as a device does.
#define FAIL_IF_PLANNED(function)                                           \
    if (const HRESULT planned = mFaults.before(#function); FAILED(planned)) \
    {                                                                       \
        if (made != nullptr)                                                \
        {                                                                   \
            *made = nullptr;                                                \
        }                                                                   \
        return planned;                                                     \
    }

HRESULT StrictDevice::CreateBuffer(
    const D3D11_BUFFER_DESC* desc, const D3D11_SUBRESOURCE_DATA* data, ID3D11Buffer** made
)
{
    FAIL_IF_PLANNED(CreateBuffer)
    return checked(ForwardingDevice::CreateBuffer(desc, data, made), CreateRules::brokenBy(*desc, data));
}

HRESULT StrictDevice::CreateTexture1D(
    const D3D11_TEXTURE1D_DESC* desc, const D3D11_SUBRESOURCE_DATA* data, ID3D11Texture1D** made
)
{
    FAIL_IF_PLANNED(CreateTexture1D)
    return checked(ForwardingDevice::CreateTexture1D(desc, data, made), CreateRules::brokenBy(*desc, data));
}

HRESULT StrictDevice::CreateTexture2D(
    const D3D11_TEXTURE2D_DESC* desc, const D3D11_SUBRESOURCE_DATA* data, ID3D11Texture2D** made
)
{
    FAIL_IF_PLANNED(CreateTexture2D)
    return checked(ForwardingDevice::CreateTexture2D(desc, data, made), CreateRules::brokenBy(*desc, data));
}

#define CREATE_VIEW(Function, Desc, View)                                                        \
    HRESULT StrictDevice::Function(ID3D11Resource* resource, const Desc* desc, View** made)      \
    {                                                                                            \
        FAIL_IF_PLANNED(Function)                                                                \
        const HRESULT result = ForwardingDevice::Function(resource, desc, made);                 \
        return FAILED(result) ? result : checked(result, CreateRules::brokenBy(resource, desc)); \
    }
CREATE_VIEW(CreateShaderResourceView, D3D11_SHADER_RESOURCE_VIEW_DESC, ID3D11ShaderResourceView)
CREATE_VIEW(CreateUnorderedAccessView, D3D11_UNORDERED_ACCESS_VIEW_DESC, ID3D11UnorderedAccessView)
CREATE_VIEW(CreateRenderTargetView, D3D11_RENDER_TARGET_VIEW_DESC, ID3D11RenderTargetView)
CREATE_VIEW(CreateDepthStencilView, D3D11_DEPTH_STENCIL_VIEW_DESC, ID3D11DepthStencilView)
#undef CREATE_VIEW

HRESULT StrictDevice::CreateInputLayout(
    const D3D11_INPUT_ELEMENT_DESC* elements,
    UINT count,
    const void* bytecode,
    SIZE_T size,
    ID3D11InputLayout** made
)
{
    FAIL_IF_PLANNED(CreateInputLayout)
    const HRESULT result = ForwardingDevice::CreateInputLayout(elements, count, bytecode, size, made);
    if (SUCCEEDED(result) && made != nullptr)
    {
        mFacts.keep(*made, elements, count);
        expectAllowed(CreateRules::brokenByLayout(elements, count, shaderFacts(bytesOf(bytecode, size))));
    }
    return result;
}

#define CREATE_SHADER(Function, Shader)                                                   \
    HRESULT StrictDevice::Function(                                                       \
        const void* bytecode, SIZE_T size, ID3D11ClassLinkage* linkage, Shader** made     \
    )                                                                                     \
    {                                                                                     \
        FAIL_IF_PLANNED(Function)                                                         \
        const HRESULT result = ForwardingDevice::Function(bytecode, size, linkage, made); \
        if (SUCCEEDED(result) && made != nullptr)                                         \
        {                                                                                 \
            mFacts.keep(*made, shaderFacts(bytesOf(bytecode, size)));                     \
        }                                                                                 \
        return result;                                                                    \
    }
CREATE_SHADER(CreateVertexShader, ID3D11VertexShader)
CREATE_SHADER(CreateGeometryShader, ID3D11GeometryShader)
CREATE_SHADER(CreatePixelShader, ID3D11PixelShader)
CREATE_SHADER(CreateComputeShader, ID3D11ComputeShader)
#undef CREATE_SHADER

#define CREATE_STATE(Function, Desc, State)                        \
    HRESULT StrictDevice::Function(const Desc* desc, State** made) \
    {                                                              \
        FAIL_IF_PLANNED(Function)                                  \
        return ForwardingDevice::Function(desc, made);             \
    }
CREATE_STATE(CreateBlendState, D3D11_BLEND_DESC, ID3D11BlendState)
CREATE_STATE(CreateDepthStencilState, D3D11_DEPTH_STENCIL_DESC, ID3D11DepthStencilState)
CREATE_STATE(CreateRasterizerState, D3D11_RASTERIZER_DESC, ID3D11RasterizerState)
CREATE_STATE(CreateSamplerState, D3D11_SAMPLER_DESC, ID3D11SamplerState)
#undef CREATE_STATE
#undef FAIL_IF_PLANNED
