#include "render/gpu/throwIfFailed.h"

#include "render/gpu/DeviceLostException.h"
#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

namespace Render
{
namespace
{
/// Whether the result of a call tells that the device is lost, whatever the device says when it is asked.
bool tellsOfLoss(long result)
{
    switch (static_cast<HRESULT>(result))
    {
        case DXGI_ERROR_DEVICE_HUNG:
        case DXGI_ERROR_DEVICE_REMOVED:
        case DXGI_ERROR_DEVICE_RESET:
        case DXGI_ERROR_DRIVER_INTERNAL_ERROR:
            return true;
        default:
            return false;
    }
}
}  // namespace

void throwIfFailed(long result)
{
    if (result < 0)
    {
        if (tellsOfLoss(result))
        {
            throw DeviceLostException(result);
        }
        throw ComException(result);
    }
}

void throwIfLost(ID3D11Device* device)
{
    const HRESULT reason = device->GetDeviceRemovedReason();
    if (FAILED(reason))
    {
        throw DeviceLostException(reason);
    }
}

void throwIfFailed(long result, ID3D11Device* device, const std::string& detail)
{
    if (result >= 0)
    {
        return;
    }
    if (device != nullptr)
    {
        throwIfLost(device);
    }
    if (tellsOfLoss(result))
    {
        throw DeviceLostException(result);
    }
    throw detail.empty() ? ComException(result) : ComException(result, detail);
}

void throwIfFailed(long result, ID3D11DeviceContext* context)
{
    if (result < 0)
    {
        CComPtr<ID3D11Device> device;
        context->GetDevice(device.put());
        throwIfFailed(result, device);
    }
}
}  // namespace Render
