#pragma once

#include "render/Render.h"
#include "render/gpu/StageBinding.h"

namespace Render
{
/// Sets one object, or none for null, at the slot of every stage of the binding: vertex, pixel, geometry,
/// compute in this order.
void bindToStages(ID3D11DeviceContext* context, const StageBinding& binding, ID3D11ShaderResourceView* view);
void bindToStages(ID3D11DeviceContext* context, const StageBinding& binding, ID3D11SamplerState* sampler);

/// The same for a constant buffer.
void bindToStages(ID3D11DeviceContext* context, const StageBinding& binding, ID3D11Buffer* constants);
}  // namespace Render
