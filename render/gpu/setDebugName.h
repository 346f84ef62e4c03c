#pragma once

#include "render/platform/Direct3D.h"

#include <string_view>

namespace Render
{
/// Where Direct3D's debug layer and graphics debuggers look for an object's name; the same as
/// WKPDID_D3DDebugObjectName, which not every SDK offers as a constant.
inline constexpr GUID kDebugObjectName{
    0x429B8C22, 0x9188, 0x4B0C, {0x87, 0x42, 0xAC, 0xB0, 0xBF, 0x85, 0xC2, 0x00}};

/// Gives an object of the device a name, in place of an earlier one. In builds without assertions this does
/// nothing.
inline void setDebugName([[maybe_unused]] ID3D11DeviceChild* object, [[maybe_unused]] std::string_view name)
{
#if !defined(NDEBUG)
    if (object != nullptr)
    {
        object->SetPrivateData(
            kDebugObjectName, 0, nullptr
        );  // the debug layer complains of a change otherwise
        object->SetPrivateData(kDebugObjectName, static_cast<UINT>(name.size()), name.data());
    }
#endif
}
}  // namespace Render
