#pragma once

#include "render/gpu/StageShader.h"

namespace Render
{
/// Owns a geometry shader; the entry point of its source is "gs_main".
using GeometryShader = StageShader<ID3D11GeometryShader>;
}  // namespace Render
