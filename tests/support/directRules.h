#pragma once

#include "render/platform/Direct3D.h"

#include <string>

/// Rules of the Direct3D 11 documentation that not every driver enforces. Each returns what is wrong with a
/// call, or an empty text.
namespace DirectRules
{
/// The usage and CPU access that the type of map needs.
std::string brokenByMap(ID3D11Resource* resource, D3D11_MAP type);

/// Two distinct resources alike in kind, size, format family, mip levels and samples.
std::string brokenByCopy(ID3D11Resource* destination, ID3D11Resource* source);

/// A box inside the source, a place inside the destination.
std::string brokenByRegionCopy(
    ID3D11Resource* destination,
    UINT destinationSubresource,
    UINT x,
    UINT y,
    UINT z,
    ID3D11Resource* source,
    UINT sourceSubresource,
    const D3D11_BOX* box
);

/// A resource of default usage that the CPU gives new contents, a box inside it, and of constant buffers all.
std::string brokenByUpdate(ID3D11Resource* resource, UINT subresource, const D3D11_BOX* box);

/// Depth ranges inside 0..1 with the lower limit not above the upper one, sizes that the rasterizer knows.
std::string brokenByViewports(UINT count, const D3D11_VIEWPORT* viewports);

/// Depth inside 0..1, known flags.
std::string brokenByDepthClear(UINT flags, FLOAT depth);

/// Targets of one size.
std::string brokenByTargets(
    UINT count, ID3D11RenderTargetView* const* views, ID3D11DepthStencilView* depthView
);
}  // namespace DirectRules
