#pragma once

#include "render/gpu/Direct3D.h"

/// Number of counted references to a COM object.
inline ULONG referenceCount(IUnknown* object)
{
    object->AddRef();
    return object->Release();
}
