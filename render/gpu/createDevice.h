#pragma once

#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

#include <functional>

namespace Render
{
/// A device and its immediate context.
struct Device
{
    CComPtr<ID3D11Device> device;
    CComPtr<ID3D11DeviceContext> context;
};

/// Whether Direct3D watches the calls and tells by ID3D11InfoQueue what is wrong with them.
enum class DebugLayer
{
    Off,
    On
};

/// Creates a device with the adapter that is chosen, of feature level 11.0 at least.
///
/// Threads  any.
/// @throws ComException        when Direct3D refuses
/// @throws std::runtime_error  "needs at least a DirectX 11.0 graphics card"; one line that names what is
///                             missing when there is no driver; when no adapter fits the choice;
///                             when there is no debug layer
Device createDevice(DebugLayer debugLayer = DebugLayer::Off);

/// Takes a device of the host and its immediate context.
///
/// Threads  that of the device's context.
/// @throws std::runtime_error     "needs at least a DirectX 11.0 graphics card"
/// @throws std::invalid_argument  for a device that was made for a single thread
Device adoptDevice(ID3D11Device* device);

/// What stands in for every device that createDevice makes from now on, given that device: tests watch the
/// calls, or let them fail. Empty for the devices themselves.
///
/// Threads  while no device is being created.
void setDeviceDecorator(std::function<Device(const Device&)> decorator);
}  // namespace Render
