#include "tests/support/directRules.h"

#include "render/platform/ComPtr.h"

#include <algorithm>
#include <tuple>

using Render::CComPtr;

namespace DirectRules
{
namespace
{
/// What the descriptors of buffers and textures have in common.
struct Shape
{
    D3D11_RESOURCE_DIMENSION dimension = D3D11_RESOURCE_DIMENSION_UNKNOWN;
    UINT width = 1;
    UINT height = 1;
    UINT depth = 1;
    UINT mipLevels = 1;
    UINT arraySize = 1;
    UINT samples = 1;
    DXGI_FORMAT format = DXGI_FORMAT_UNKNOWN;
    D3D11_USAGE usage = D3D11_USAGE_DEFAULT;
    UINT bindFlags = 0;
    UINT cpuAccess = 0;
};

template <class Resource, class Desc>
Desc descOf(ID3D11Resource* resource)
{
    Desc desc{};
    static_cast<Resource*>(resource)->GetDesc(&desc);
    return desc;
}

Shape shapeOf(ID3D11Resource* resource)
{
    Shape shape;
    resource->GetType(&shape.dimension);
    const auto takeCommon = [&](const auto& desc)
    {
        shape.usage = desc.Usage;
        shape.bindFlags = desc.BindFlags;
        shape.cpuAccess = desc.CPUAccessFlags;
    };
    const auto takeTexture = [&](const auto& desc)
    {
        takeCommon(desc);
        shape.width = desc.Width;
        shape.mipLevels = desc.MipLevels;
        shape.format = desc.Format;
    };
    switch (shape.dimension)
    {
        case D3D11_RESOURCE_DIMENSION_BUFFER:
        {
            const auto desc = descOf<ID3D11Buffer, D3D11_BUFFER_DESC>(resource);
            takeCommon(desc);
            shape.width = desc.ByteWidth;
            break;
        }
        case D3D11_RESOURCE_DIMENSION_TEXTURE1D:
        {
            const auto desc = descOf<ID3D11Texture1D, D3D11_TEXTURE1D_DESC>(resource);
            takeTexture(desc);
            shape.arraySize = desc.ArraySize;
            break;
        }
        case D3D11_RESOURCE_DIMENSION_TEXTURE2D:
        {
            const auto desc = descOf<ID3D11Texture2D, D3D11_TEXTURE2D_DESC>(resource);
            takeTexture(desc);
            shape.height = desc.Height;
            shape.arraySize = desc.ArraySize;
            shape.samples = desc.SampleDesc.Count;
            break;
        }
        case D3D11_RESOURCE_DIMENSION_TEXTURE3D:
        {
            const auto desc = descOf<ID3D11Texture3D, D3D11_TEXTURE3D_DESC>(resource);
            takeTexture(desc);
            shape.height = desc.Height;
            shape.depth = desc.Depth;
            break;
        }
        default:
            break;
    }
    return shape;
}

/// Size of one subresource.
std::tuple<UINT, UINT, UINT> sizeOf(const Shape& shape, UINT subresource)
{
    const UINT level = subresource % shape.mipLevels;
    const auto reduced = [level](UINT size) { return std::max(size >> level, 1U); };
    return {reduced(shape.width), reduced(shape.height), reduced(shape.depth)};
}

/// One representative of each family of formats between which bits may be copied; only those in use here.
DXGI_FORMAT family(DXGI_FORMAT format)
{
    switch (format)
    {
        case DXGI_FORMAT_D32_FLOAT:
        case DXGI_FORMAT_R32_FLOAT:
        case DXGI_FORMAT_R32_UINT:
        case DXGI_FORMAT_R32_SINT:
            return DXGI_FORMAT_R32_TYPELESS;
        default:
            return format;
    }
}

bool hasAccess(const Shape& shape, UINT access)
{
    return (shape.cpuAccess & access) == access;
}

/// What the GPU may write by a copy. Dynamic resources it only reads.
std::string brokenByDestination(const Shape& shape)
{
    return shape.usage == D3D11_USAGE_DEFAULT || shape.usage == D3D11_USAGE_STAGING
               ? ""
               : "copy to an immutable or dynamic resource";
}

Shape shapeOfView(ID3D11View* view)
{
    CComPtr<ID3D11Resource> resource;
    view->GetResource(resource.put());
    return shapeOf(resource);
}
}  // namespace

std::string brokenByMap(ID3D11Resource* resource, D3D11_MAP type)
{
    const Shape shape = shapeOf(resource);
    const bool isStaging = shape.usage == D3D11_USAGE_STAGING;
    const bool isDynamic = shape.usage == D3D11_USAGE_DYNAMIC;
    switch (type)
    {
        case D3D11_MAP_READ:
            return isStaging && hasAccess(shape, D3D11_CPU_ACCESS_READ) ? ""
                                                                        : "Map READ needs staging, CPU read";
        case D3D11_MAP_WRITE:
            return isStaging && hasAccess(shape, D3D11_CPU_ACCESS_WRITE)
                       ? ""
                       : "Map WRITE needs staging, CPU write";
        case D3D11_MAP_READ_WRITE:
            return isStaging && hasAccess(shape, D3D11_CPU_ACCESS_READ | D3D11_CPU_ACCESS_WRITE)
                       ? ""
                       : "Map READ_WRITE needs staging, CPU read and write";
        case D3D11_MAP_WRITE_DISCARD:
            return isDynamic ? "" : "Map WRITE_DISCARD needs a dynamic resource";
        case D3D11_MAP_WRITE_NO_OVERWRITE:
            return isDynamic &&
                           (shape.bindFlags & ~UINT{D3D11_BIND_VERTEX_BUFFER | D3D11_BIND_INDEX_BUFFER}) == 0
                       ? ""
                       : "Map WRITE_NO_OVERWRITE needs a dynamic vertex or index buffer";
        default:
            return "Map of an unknown type";
    }
}

std::string brokenByCopy(ID3D11Resource* destination, ID3D11Resource* source)
{
    if (destination == source)
    {
        return "copy of a resource to itself";
    }
    const Shape to = shapeOf(destination);
    const Shape from = shapeOf(source);
    const auto layout = [](const Shape& shape)
    {
        return std::make_tuple(
            shape.dimension, shape.width, shape.height, shape.depth, shape.arraySize, shape.samples
        );
    };
    if (layout(to) != layout(from))
    {
        return "copy between resources of different kind or size";
    }
    if (to.mipLevels != from.mipLevels)
    {
        return "copy between textures with different numbers of mip levels";
    }
    if (family(to.format) != family(from.format))
    {
        return "copy between unlike formats";
    }
    return brokenByDestination(to);
}

std::string brokenByRegionCopy(
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
    const Shape to = shapeOf(destination);
    const Shape from = shapeOf(source);
    if (to.dimension != from.dimension || family(to.format) != family(from.format))
    {
        return "region copy between unlike resources";
    }
    if (const std::string broken = brokenByDestination(to); !broken.empty())
    {
        return broken;
    }
    if (destinationSubresource >= to.mipLevels * to.arraySize ||
        sourceSubresource >= from.mipLevels * from.arraySize)
    {
        return "region copy of a subresource that is not there";
    }
    const bool isDepth =
        ((to.bindFlags | from.bindFlags) & D3D11_BIND_DEPTH_STENCIL) != 0 || from.samples > 1;
    if (isDepth && (box != nullptr || x != 0 || y != 0 || z != 0))
    {
        return "region copy of a part of a depth buffer";
    }
    if (destination == source && destinationSubresource == sourceSubresource)
    {
        return "region copy inside one subresource";
    }

    const auto [sourceWidth, sourceHeight, sourceDepth] = sizeOf(from, sourceSubresource);
    const D3D11_BOX whole{0, 0, 0, sourceWidth, sourceHeight, sourceDepth};
    const D3D11_BOX& part = box != nullptr ? *box : whole;
    if (part.left >= part.right || part.top >= part.bottom || part.front >= part.back)
    {
        return "region copy of an empty box";
    }
    if (part.right > sourceWidth || part.bottom > sourceHeight || part.back > sourceDepth)
    {
        return "region copy of a box that leaves the source";
    }

    const auto [width, height, depth] = sizeOf(to, destinationSubresource);
    const auto fits = [](UINT start, UINT length, UINT size)
    { return start <= size && length <= size - start; };
    if (!fits(x, part.right - part.left, width) || !fits(y, part.bottom - part.top, height) ||
        !fits(z, part.back - part.front, depth))
    {
        return "region copy to a place that leaves the destination";
    }
    return "";
}

std::string brokenByUpdate(ID3D11Resource* resource, UINT subresource, const D3D11_BOX* box)
{
    const Shape shape = shapeOf(resource);
    if (shape.usage != D3D11_USAGE_DEFAULT || (shape.bindFlags & D3D11_BIND_DEPTH_STENCIL) != 0 ||
        shape.samples > 1)
    {
        return "update of what is not of default usage, or of a depth buffer";
    }
    if (subresource >= shape.mipLevels * shape.arraySize)
    {
        return "update of a subresource that is not there";
    }
    if (box == nullptr)
    {
        return "";
    }
    if ((shape.bindFlags & D3D11_BIND_CONSTANT_BUFFER) != 0)
    {
        return "update of a part of a constant buffer";
    }
    const auto [width, height, depth] = sizeOf(shape, subresource);
    const bool isInside = box->left < box->right && box->top < box->bottom && box->front < box->back &&
                          box->right <= width && box->bottom <= height && box->back <= depth;
    return isInside ? "" : "update of a box that leaves the resource";
}

std::string brokenByViewports(UINT count, const D3D11_VIEWPORT* viewports)
{
    for (UINT i = 0; i < count; ++i)
    {
        const D3D11_VIEWPORT& viewport = viewports[i];
        if (!(viewport.MinDepth >= 0.0F && viewport.MinDepth <= viewport.MaxDepth && viewport.MaxDepth <= 1.0F
            ))
        {
            return "viewport with a depth range outside 0..1 or the wrong way round";
        }
        const auto isInBounds = [](FLOAT value)
        { return value >= D3D11_VIEWPORT_BOUNDS_MIN && value <= D3D11_VIEWPORT_BOUNDS_MAX; };
        if (!(viewport.Width >= 0.0F && viewport.Height >= 0.0F && isInBounds(viewport.TopLeftX) &&
              isInBounds(viewport.TopLeftY) && isInBounds(viewport.TopLeftX + viewport.Width) &&
              isInBounds(viewport.TopLeftY + viewport.Height)))
        {
            return "viewport that is larger than the rasterizer knows";
        }
    }
    return "";
}

std::string brokenByDepthClear(UINT flags, FLOAT depth)
{
    constexpr UINT kKnown = D3D11_CLEAR_DEPTH | D3D11_CLEAR_STENCIL;
    return (flags & ~kKnown) == 0 && depth >= 0.0F && depth <= 1.0F ? "" : "clear of depth outside 0..1";
}

std::string brokenByTargets(
    UINT count, ID3D11RenderTargetView* const* views, ID3D11DepthStencilView* depthView
)
{
    UINT width = 0;
    UINT height = 0;
    const auto differs = [&](ID3D11View* view)
    {
        if (view == nullptr)
        {
            return false;
        }
        const Shape shape = shapeOfView(view);
        const bool isFirst = width == 0;
        width = isFirst ? shape.width : width;
        height = isFirst ? shape.height : height;
        return shape.width != width || shape.height != height;
    };
    return differs(depthView) || std::any_of(views, views + count, differs) ? "targets of different sizes"
                                                                            : "";
}
}  // namespace DirectRules
