#pragma once

#include "render/gpu/ComException.h"

namespace Render
{
/// Lets a successful HRESULT pass.
/// @throws ComException  carrying the result when it is negative
inline void throwIfFailed(long result)
{
    if (result < 0)
    {
        throw ComException(result);
    }
}
}  // namespace Render
