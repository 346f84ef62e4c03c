#pragma once

#include "render/Export.h"
#include "render/platform/Direct3D.h"

#include <vector>

namespace Render
{
/// How the input assembler reads VertexPosColorIntensityClassIndexScanIndex, one per instance, from slot 0.
RENDER_API std::vector<D3D11_INPUT_ELEMENT_DESC> pointInputLayout();

/// How the input assembler reads VertexPosNormalTexCoordColor, one per vertex, from slot 0.
RENDER_API std::vector<D3D11_INPUT_ELEMENT_DESC> meshInputLayout();
}  // namespace Render
