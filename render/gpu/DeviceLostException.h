#pragma once

#include "render/Export.h"
#include "render/gpu/ComException.h"

namespace Render
{
/// The device is gone: the graphics card was removed, its driver was updated or failed, or something asked
/// too much of it. Nothing that was made with the device works any more, and nothing makes it work again.
///
/// To go on, end the renderer, make a new one and give it the same scene:
///
///     const std::shared_ptr<Renderable> scene = renderer->scene();
///     renderer.reset();  // deinitialises the scene
///     renderer = std::make_unique<Renderer>();
///     renderer->setScene(scene);
///
/// then set viewport, camera and colours, which belong to the renderer, and start the loading of point clouds
/// (PointCloudRenderable::startAsyncReload or reloadPoints), which ends with the old renderer. Renderables
/// keep their settings. What point clouds had loaded they take from their caches; panoramas and meshes load
/// theirs again by themselves. Where no new renderer can be made there is no device left for now.
///
/// Threads  a plain value.
class RENDER_API DeviceLostException : public ComException
{
public:
    /// @param reason  what ID3D11Device::GetDeviceRemovedReason says; it becomes result()
    explicit DeviceLostException(long reason);
};
}  // namespace Render
