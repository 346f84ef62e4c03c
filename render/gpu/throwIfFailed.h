#pragma once

#include "render/gpu/ComException.h"

#include <string>

struct ID3D11Device;
struct ID3D11DeviceContext;

namespace Render
{
/// Lets a successful HRESULT pass.
/// @throws DeviceLostException  when the result tells that the device is lost
/// @throws ComException         carrying the result when it is negative otherwise
void throwIfFailed(long result);

/// The same for a call of this device or context, which is asked whether it still works.
/// @param detail  follows the message of a ComException, if there is one
/// @throws DeviceLostException  when the call failed and the device is lost
/// @throws ComException         carrying the result when the call failed otherwise
void throwIfFailed(long result, ID3D11Device* device, const std::string& detail = {});
void throwIfFailed(long result, ID3D11DeviceContext* context);

/// @throws DeviceLostException  when the device is lost
void throwIfLost(ID3D11Device* device);
}  // namespace Render
