#include "render/gpu/MappedResource.h"

#include "render/gpu/throwIfFailed.h"

namespace Render
{
D3D11_MAPPED_SUBRESOURCE MappedResource::map(
    ID3D11DeviceContext* context, ID3D11Resource* resource, D3D11_MAP type
)
{
    D3D11_MAPPED_SUBRESOURCE mapped{};
    throwIfFailed(context->Map(resource, 0, type, 0, &mapped), context);
    return mapped;
}
}  // namespace Render
