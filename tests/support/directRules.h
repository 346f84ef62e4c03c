#pragma once

#include "render/gpu/Direct3D.h"

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

/// Targets of one size.
std::string brokenByTargets(
    UINT count, ID3D11RenderTargetView* const* views, ID3D11DepthStencilView* depthView
);
}  // namespace DirectRules
