#pragma once

#include "render/gpu/ComException.h"

/// The HRESULT of the ComException that `action` throws; 0 when it throws none.
template <class Action>
long resultOf(Action&& action)
{
    try
    {
        action();
    }
    catch (const Render::ComException& error)
    {
        return error.result();
    }
    return 0;
}
