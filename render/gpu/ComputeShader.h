#pragma once

#include "render/gpu/StageShader.h"

namespace Render
{
/// Owns a compute shader; the entry point of its source is "cs_main".
using ComputeShader = StageShader<ID3D11ComputeShader>;
}  // namespace Render
