#pragma once

#include "render/gpu/StageShader.h"

namespace Render
{
/// Owns a pixel shader; the entry point of its source is "ps_main".
using PixelShader = StageShader<ID3D11PixelShader>;
}  // namespace Render
