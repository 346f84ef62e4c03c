#include "tests/support/createRules.h"

#include <algorithm>
#include <bit>
#include <cctype>

namespace CreateRules
{
namespace
{
constexpr UINT kAllBinds = D3D11_BIND_VERTEX_BUFFER | D3D11_BIND_INDEX_BUFFER | D3D11_BIND_CONSTANT_BUFFER |
                           D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_STREAM_OUTPUT | D3D11_BIND_RENDER_TARGET |
                           D3D11_BIND_DEPTH_STENCIL | D3D11_BIND_UNORDERED_ACCESS;
constexpr UINT kWrittenByGpu = D3D11_BIND_STREAM_OUTPUT | D3D11_BIND_RENDER_TARGET |
                               D3D11_BIND_DEPTH_STENCIL | D3D11_BIND_UNORDERED_ACCESS;

bool has(UINT flags, UINT flag)
{
    return (flags & flag) != 0;
}

/// What usage, bind flags and CPU access ask of each other in all resources.
template <class Desc>
std::string brokenByUsage(const Desc& desc, const D3D11_SUBRESOURCE_DATA* data)
{
    if (has(desc.BindFlags, ~kAllBinds))
    {
        return "unknown bind flags";
    }
    switch (desc.Usage)
    {
        case D3D11_USAGE_DEFAULT:
            return desc.CPUAccessFlags != 0 ? "default usage with CPU access" : "";
        case D3D11_USAGE_IMMUTABLE:
            if (data == nullptr)
            {
                return "immutable without initial data";
            }
            return desc.CPUAccessFlags != 0 || has(desc.BindFlags, kWrittenByGpu) || desc.BindFlags == 0
                       ? "immutable with a way to be written or without a use"
                       : "";
        case D3D11_USAGE_DYNAMIC:
            return desc.CPUAccessFlags != D3D11_CPU_ACCESS_WRITE || desc.BindFlags == 0 ||
                           has(desc.BindFlags, kWrittenByGpu)
                       ? "dynamic without CPU write alone, without bind flags, or written by the GPU"
                       : "";
        case D3D11_USAGE_STAGING:
            return desc.CPUAccessFlags == 0 || desc.BindFlags != 0 ? "staging without CPU access or bound"
                                                                   : "";
        default:
            return "unknown usage";
    }
}

UINT mostMipLevels(UINT width, UINT height)
{
    return static_cast<UINT>(std::bit_width(std::max({width, height, 1U})));
}

D3D11_RESOURCE_DIMENSION dimensionOf(ID3D11Resource* resource)
{
    D3D11_RESOURCE_DIMENSION dimension = D3D11_RESOURCE_DIMENSION_UNKNOWN;
    resource->GetType(&dimension);
    return dimension;
}

template <class Resource, class Desc>
Desc descOf(ID3D11Resource* resource)
{
    Desc desc{};
    static_cast<Resource*>(resource)->GetDesc(&desc);
    return desc;
}

/// Whether a format says nothing of how bits are read, so that a view has to.
bool isTypeless(DXGI_FORMAT format)
{
    return format == DXGI_FORMAT_R32_TYPELESS || format == DXGI_FORMAT_R32G32B32A32_TYPELESS ||
           format == DXGI_FORMAT_R24G8_TYPELESS || format == DXGI_FORMAT_R8G8B8A8_TYPELESS ||
           format == DXGI_FORMAT_B8G8R8A8_TYPELESS;
}

/// The size of a texel of the formats that buffers are viewed in here; 0 for others.
UINT texelSize(DXGI_FORMAT format)
{
    switch (format)
    {
        case DXGI_FORMAT_R32_TYPELESS:
        case DXGI_FORMAT_R32_UINT:
        case DXGI_FORMAT_R32_SINT:
        case DXGI_FORMAT_R32_FLOAT:
        case DXGI_FORMAT_R8G8B8A8_UNORM:
        case DXGI_FORMAT_R8G8B8A8_UINT:
            return 4;
        case DXGI_FORMAT_R32G32_UINT:
        case DXGI_FORMAT_R32G32_FLOAT:
            return 8;
        case DXGI_FORMAT_R32G32B32A32_FLOAT:
        case DXGI_FORMAT_R32G32B32A32_UINT:
            return 16;
        default:
            return 0;
    }
}

std::string brokenByRange(const D3D11_BUFFER_DESC& buffer, UINT64 first, UINT64 count, UINT elementSize)
{
    if (elementSize == 0)
    {
        return "a view of a buffer in a format that the rules do not know";
    }
    return count == 0 || (first + count) * elementSize > buffer.ByteWidth ? "a view that leaves its buffer"
                                                                          : "";
}

/// Of a view of a buffer: raw, structured or typed.
std::string brokenByBufferView(
    const D3D11_BUFFER_DESC& buffer, DXGI_FORMAT format, UINT64 first, UINT64 count, bool isRaw
)
{
    const bool isStructured = has(buffer.MiscFlags, D3D11_RESOURCE_MISC_BUFFER_STRUCTURED);
    if (isRaw)
    {
        return !has(buffer.MiscFlags, D3D11_RESOURCE_MISC_BUFFER_ALLOW_RAW_VIEWS) ||
                       format != DXGI_FORMAT_R32_TYPELESS
                   ? "a raw view of a buffer that does not allow it, or of another format"
                   : brokenByRange(buffer, first, count, 4);
    }
    if (isStructured)
    {
        return format != DXGI_FORMAT_UNKNOWN
                   ? "a view of a structured buffer with a format"
                   : brokenByRange(buffer, first, count, buffer.StructureByteStride);
    }
    return isTypeless(format) ? "a typed view of a typeless format"
                              : brokenByRange(buffer, first, count, texelSize(format));
}

std::string withoutDescriptor(ID3D11Resource* resource)
{
    switch (dimensionOf(resource))
    {
        case D3D11_RESOURCE_DIMENSION_BUFFER:
        {
            const auto desc = descOf<ID3D11Buffer, D3D11_BUFFER_DESC>(resource);
            return has(desc.MiscFlags, D3D11_RESOURCE_MISC_BUFFER_STRUCTURED)
                       ? ""
                       : "a view without a descriptor of a buffer that is not structured";
        }
        case D3D11_RESOURCE_DIMENSION_TEXTURE2D:
            return isTypeless(descOf<ID3D11Texture2D, D3D11_TEXTURE2D_DESC>(resource).Format)
                       ? "a view without a descriptor of a typeless texture"
                       : "";
        default:
            return "";
    }
}

UINT bindFlagsOf(ID3D11Resource* resource)
{
    switch (dimensionOf(resource))
    {
        case D3D11_RESOURCE_DIMENSION_BUFFER:
            return descOf<ID3D11Buffer, D3D11_BUFFER_DESC>(resource).BindFlags;
        case D3D11_RESOURCE_DIMENSION_TEXTURE1D:
            return descOf<ID3D11Texture1D, D3D11_TEXTURE1D_DESC>(resource).BindFlags;
        case D3D11_RESOURCE_DIMENSION_TEXTURE2D:
            return descOf<ID3D11Texture2D, D3D11_TEXTURE2D_DESC>(resource).BindFlags;
        default:
            return descOf<ID3D11Texture3D, D3D11_TEXTURE3D_DESC>(resource).BindFlags;
    }
}

std::string upperCase(const char* text)
{
    std::string result(text);
    std::transform(
        result.begin(),
        result.end(),
        result.begin(),
        [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); }
    );
    return result;
}

/// How a shader reads a vertex element: 1 unsigned, 2 signed, 3 float.
UINT componentTypeOf(DXGI_FORMAT format)
{
    switch (format)
    {
        case DXGI_FORMAT_R32G32B32A32_UINT:
        case DXGI_FORMAT_R32G32B32_UINT:
        case DXGI_FORMAT_R32G32_UINT:
        case DXGI_FORMAT_R32_UINT:
        case DXGI_FORMAT_R16G16_UINT:
        case DXGI_FORMAT_R16_UINT:
        case DXGI_FORMAT_R8G8B8A8_UINT:
        case DXGI_FORMAT_R8_UINT:
            return 1;
        case DXGI_FORMAT_R32_SINT:
        case DXGI_FORMAT_R16_SINT:
        case DXGI_FORMAT_R8_SINT:
            return 2;
        default:
            return 3;
    }
}
}  // namespace

std::string brokenBy(const D3D11_BUFFER_DESC& desc, const D3D11_SUBRESOURCE_DATA* data)
{
    constexpr UINT64 kMost = UINT64{2048} << 20U;
    const std::string usage = brokenByUsage(desc, data);
    if (!usage.empty())
    {
        return usage;
    }
    if (desc.ByteWidth == 0 || desc.ByteWidth > kMost)
    {
        return "a buffer of no bytes or more than 2 GB";
    }
    if (has(desc.BindFlags, D3D11_BIND_CONSTANT_BUFFER))
    {
        const bool isFit = desc.BindFlags == D3D11_BIND_CONSTANT_BUFFER && desc.ByteWidth % 16 == 0 &&
                           desc.ByteWidth <= D3D11_REQ_CONSTANT_BUFFER_ELEMENT_COUNT * 16;
        return isFit ? "" : "a constant buffer with another use, of odd size, or of more than 64 KB";
    }
    const bool isStructured = has(desc.MiscFlags, D3D11_RESOURCE_MISC_BUFFER_STRUCTURED);
    const bool isRaw = has(desc.MiscFlags, D3D11_RESOURCE_MISC_BUFFER_ALLOW_RAW_VIEWS);
    constexpr UINT kViewed = D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_UNORDERED_ACCESS;
    if (isStructured)
    {
        const UINT stride = desc.StructureByteStride;
        const bool isFit = stride != 0 && stride % 4 == 0 && stride <= 2048 && desc.ByteWidth % stride == 0 &&
                           !isRaw && !has(desc.BindFlags, ~kViewed);
        return isFit ? "" : "a structured buffer with a stride or a use that does not fit";
    }
    if (isRaw && (!has(desc.BindFlags, kViewed) || desc.ByteWidth % 4 != 0))
    {
        return "a raw buffer that is not viewed, or of odd size";
    }
    return "";
}

std::string brokenBy(const D3D11_TEXTURE1D_DESC& desc, const D3D11_SUBRESOURCE_DATA* data)
{
    const std::string usage = brokenByUsage(desc, data);
    if (!usage.empty())
    {
        return usage;
    }
    if (desc.MipLevels > mostMipLevels(desc.Width, 1) ||
        (desc.Usage == D3D11_USAGE_DYNAMIC && (desc.MipLevels != 1 || desc.ArraySize != 1)))
    {
        return "a one-dimensional texture with too many mip levels or slices";
    }
    return "";
}

std::string brokenBy(const D3D11_TEXTURE2D_DESC& desc, const D3D11_SUBRESOURCE_DATA* data)
{
    const std::string usage = brokenByUsage(desc, data);
    if (!usage.empty())
    {
        return usage;
    }
    if (desc.MipLevels > mostMipLevels(desc.Width, desc.Height))
    {
        return "a texture with more mip levels than its size has";
    }
    if (desc.Usage == D3D11_USAGE_DYNAMIC && (desc.MipLevels != 1 || desc.ArraySize != 1))
    {
        return "a dynamic texture with mip levels or slices";
    }
    const bool isDepth = desc.Format == DXGI_FORMAT_D32_FLOAT || desc.Format == DXGI_FORMAT_D24_UNORM_S8_UINT;
    if (isDepth && has(desc.BindFlags, D3D11_BIND_SHADER_RESOURCE))
    {
        return "a depth format that shaders read";
    }
    if (desc.Format == DXGI_FORMAT_R32G32B32_FLOAT && has(desc.BindFlags, D3D11_BIND_RENDER_TARGET))
    {
        return "a target of three floats";
    }
    return "";
}

std::string brokenBy(ID3D11Resource* resource, const D3D11_SHADER_RESOURCE_VIEW_DESC* desc)
{
    if (!has(bindFlagsOf(resource), D3D11_BIND_SHADER_RESOURCE))
    {
        return "a shader view of a resource without that bind flag";
    }
    if (desc == nullptr)
    {
        return withoutDescriptor(resource);
    }
    switch (desc->ViewDimension)
    {
        case D3D11_SRV_DIMENSION_BUFFER:
            return brokenByBufferView(
                descOf<ID3D11Buffer, D3D11_BUFFER_DESC>(resource),
                desc->Format,
                desc->Buffer.FirstElement,
                desc->Buffer.NumElements,
                false
            );
        case D3D11_SRV_DIMENSION_BUFFEREX:
            return brokenByBufferView(
                descOf<ID3D11Buffer, D3D11_BUFFER_DESC>(resource),
                desc->Format,
                desc->BufferEx.FirstElement,
                desc->BufferEx.NumElements,
                has(desc->BufferEx.Flags, D3D11_BUFFEREX_SRV_FLAG_RAW)
            );
        case D3D11_SRV_DIMENSION_TEXTURE2D:
        {
            const auto texture = descOf<ID3D11Texture2D, D3D11_TEXTURE2D_DESC>(resource);
            const UINT first = desc->Texture2D.MostDetailedMip;
            const UINT count = desc->Texture2D.MipLevels;
            const bool isInside = first < texture.MipLevels &&
                                  (count == UINT(-1) || (count > 0 && count <= texture.MipLevels - first));
            return isInside && !isTypeless(desc->Format)
                       ? ""
                       : "a shader view of mip levels that are not there, or "
                         "of a typeless format";
        }
        default:
            return "";
    }
}

std::string brokenBy(ID3D11Resource* resource, const D3D11_UNORDERED_ACCESS_VIEW_DESC* desc)
{
    if (!has(bindFlagsOf(resource), D3D11_BIND_UNORDERED_ACCESS))
    {
        return "an unordered view of a resource without that bind flag";
    }
    if (desc == nullptr)
    {
        return withoutDescriptor(resource);
    }
    if (desc->ViewDimension != D3D11_UAV_DIMENSION_BUFFER)
    {
        return "";
    }
    return brokenByBufferView(
        descOf<ID3D11Buffer, D3D11_BUFFER_DESC>(resource),
        desc->Format,
        desc->Buffer.FirstElement,
        desc->Buffer.NumElements,
        has(desc->Buffer.Flags, D3D11_BUFFER_UAV_FLAG_RAW)
    );
}

std::string brokenBy(ID3D11Resource* resource, const D3D11_RENDER_TARGET_VIEW_DESC* desc)
{
    if (!has(bindFlagsOf(resource), D3D11_BIND_RENDER_TARGET))
    {
        return "a target view of a resource without that bind flag";
    }
    return desc == nullptr ? withoutDescriptor(resource) : "";
}

std::string brokenBy(ID3D11Resource* resource, const D3D11_DEPTH_STENCIL_VIEW_DESC* desc)
{
    if (!has(bindFlagsOf(resource), D3D11_BIND_DEPTH_STENCIL))
    {
        return "a depth view of a resource without that bind flag";
    }
    if (desc == nullptr)
    {
        return withoutDescriptor(resource);
    }
    const bool isTexture2d = desc->ViewDimension == D3D11_DSV_DIMENSION_TEXTURE2D;
    return isTexture2d && desc->Texture2D.MipSlice >=
                              descOf<ID3D11Texture2D, D3D11_TEXTURE2D_DESC>(resource).MipLevels
               ? "a depth view of a mip level that is not there"
               : "";
}

std::string brokenByLayout(const D3D11_INPUT_ELEMENT_DESC* elements, UINT count, const ShaderFacts& shader)
{
    for (UINT i = 0; i < count; ++i)
    {
        const bool isPerInstance = elements[i].InputSlotClass == D3D11_INPUT_PER_INSTANCE_DATA;
        const bool hasOffset = elements[i].AlignedByteOffset != D3D11_APPEND_ALIGNED_ELEMENT;
        if (elements[i].InputSlot >= D3D11_IA_VERTEX_INPUT_RESOURCE_SLOT_COUNT ||
            (!isPerInstance && elements[i].InstanceDataStepRate != 0) ||
            (hasOffset && elements[i].AlignedByteOffset % 4 != 0 &&
             componentTypeOf(elements[i].Format) == 3 && elements[i].Format == DXGI_FORMAT_R32_FLOAT))
        {
            return std::string("a layout whose element ") + elements[i].SemanticName + " has a wrong place";
        }
    }
    for (const ShaderSignatureElement& input : shader.inputs)
    {
        if (input.systemValue != 0)
        {
            continue;
        }
        const auto* const end = elements + count;
        const auto* const found = std::find_if(
            elements,
            end,
            [&input](const D3D11_INPUT_ELEMENT_DESC& element)
            { return upperCase(element.SemanticName) == input.name && element.SemanticIndex == input.index; }
        );
        if (found == end)
        {
            return "a layout without " + input.name + ", which the shader reads";
        }
        if (componentTypeOf(found->Format) != input.componentType)
        {
            return "a layout whose " + input.name + " has another kind of numbers than the shader reads";
        }
    }
    return "";
}
}  // namespace CreateRules
