#include "tests/render/scene/RecordingRenderable.h"

#include "render/platform/Direct3D.h"

void RecordingRenderable::init(
    unsigned long long rendererId,
    std::shared_ptr<Render::Camera> initCamera,
    Render::CComPtr<ID3D11Device> initDevice,
    Render::CComPtr<ID3D11DeviceContext> initContext
)
{
    const bool complete = initCamera && initDevice.get() != nullptr && initContext.get() != nullptr;
    record("init " + std::to_string(rendererId) + (complete ? "" : " incomplete"));
    camera = std::move(initCamera);
}
