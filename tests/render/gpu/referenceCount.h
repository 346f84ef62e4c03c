#pragma once

#include "render/platform/Direct3D.h"

/// Number of counted references to a COM object.
inline ULONG referenceCount(IUnknown* object)
{
    object->AddRef();
    return object->Release();
}
