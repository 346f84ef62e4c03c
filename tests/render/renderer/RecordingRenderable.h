#pragma once

#include "render/platform/Direct3D.h"
#include "render/scene/Camera.h"
#include "render/scene/Renderable.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Render
{
/// A scene of one box that writes down which of its operations are called.
class RecordingRenderable : public Renderable
{
public:
    explicit RecordingRenderable(std::string name = "recording") : Renderable(std::move(name)) {}

    void init(
        unsigned long long id,
        std::shared_ptr<Camera> newCamera,
        CComPtr<ID3D11Device> newDevice,
        CComPtr<ID3D11DeviceContext> newContext
    ) override
    {
        record("init");
        rendererId = id;
        camera = std::move(newCamera);
        device = std::move(newDevice);
        deviceContext = std::move(newContext);
    }

    void deinit() override { record("deinit"); }

    void onUpdateProjectionMatrix(const std::shared_ptr<Camera>& newCamera) override
    {
        recordCamera("onUpdateProjectionMatrix", newCamera);
    }

    void onUpdateViewMatrix(const std::shared_ptr<Camera>& newCamera) override
    {
        recordCamera("onUpdateViewMatrix", newCamera);
    }

    void onUpdateZRange(const std::shared_ptr<Camera>& newCamera) override
    {
        recordCamera("onUpdateZRange", newCamera);
    }

    void onUpdateViewport(const std::shared_ptr<Camera>& newCamera) override
    {
        recordCamera("onUpdateViewport", newCamera);
    }

    void onUpdateRenderMode(RenderMode mode) override
    {
        record("onUpdateRenderMode " + std::to_string(static_cast<int>(mode)));
    }

    void render() override
    {
        record("render");
        if (onRender)
        {
            onRender();
        }
        Renderable::render();
    }

    bool isTransparent() const override { return transparent; }

    void brightnessAndContrast(float quantile, float range, float& brightness, float& contrast) override
    {
        brightness += 10.0F * quantile;  // so a test sees where they started
        contrast += 100.0F * range;
    }

    Math::NBoundingBox<float, 3> boundingBox() override { return box; }

    /// The calls since the last time this was asked.
    std::vector<std::string> takeCalls() { return std::exchange(mCalls, {}); }

    // What init was given.
    unsigned long long rendererId = 0;
    std::shared_ptr<Camera> camera;
    CComPtr<ID3D11Device> device;
    CComPtr<ID3D11DeviceContext> deviceContext;

    // What the scene answers.
    Math::NBoundingBox<float, 3> box;
    bool transparent = false;
    std::function<void()> onRender;

private:
    void record(const std::string& call) { mCalls.push_back(call); }

    void recordCamera(const std::string& call, const std::shared_ptr<Camera>& newCamera)
    {
        record(newCamera == camera || !camera ? call : call + " of another camera");
    }

    std::vector<std::string> mCalls;
};
}  // namespace Render
