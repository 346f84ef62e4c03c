#pragma once

#include "render/platform/Direct3D.h"
#include "tests/support/shaderFacts.h"

#include <string>

/// What Direct3D 11.0 asks of objects that are made, though not every driver refuses others. Each returns
/// what is wrong, or an empty text.
namespace CreateRules
{
std::string brokenBy(const D3D11_BUFFER_DESC& desc, const D3D11_SUBRESOURCE_DATA* data);
std::string brokenBy(const D3D11_TEXTURE1D_DESC& desc, const D3D11_SUBRESOURCE_DATA* data);
std::string brokenBy(const D3D11_TEXTURE2D_DESC& desc, const D3D11_SUBRESOURCE_DATA* data);

/// A view with an absent descriptor is the default one.
std::string brokenBy(ID3D11Resource* resource, const D3D11_SHADER_RESOURCE_VIEW_DESC* desc);
std::string brokenBy(ID3D11Resource* resource, const D3D11_UNORDERED_ACCESS_VIEW_DESC* desc);
std::string brokenBy(ID3D11Resource* resource, const D3D11_RENDER_TARGET_VIEW_DESC* desc);
std::string brokenBy(ID3D11Resource* resource, const D3D11_DEPTH_STENCIL_VIEW_DESC* desc);

/// A layout against the inputs of the vertex shader that it is made for.
std::string brokenByLayout(const D3D11_INPUT_ELEMENT_DESC* elements, UINT count, const ShaderFacts& shader);
}  // namespace CreateRules
