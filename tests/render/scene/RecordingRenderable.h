#pragma once

#include "render/scene/Renderable.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

/// A renderable that writes down what it is told, in a log that several of them can share, and answers what
/// the test has set.
class RecordingRenderable : public Render::Renderable
{
public:
    using Log = std::vector<std::string>;

    explicit RecordingRenderable(std::string name, std::shared_ptr<Log> log = std::make_shared<Log>())
        : Renderable(std::move(name)), mLog(std::move(log))
    {
    }

    void init(
        unsigned long long rendererId,
        std::shared_ptr<Render::Camera> initCamera,
        Render::CComPtr<ID3D11Device> initDevice,
        Render::CComPtr<ID3D11DeviceContext> initContext
    ) override;

    void deinit() override { record("deinit"); }

    void onUpdateProjectionMatrix(const std::shared_ptr<Render::Camera>&) override { record("projection"); }

    void onUpdateViewMatrix(const std::shared_ptr<Render::Camera>&) override { record("view"); }

    void onUpdateZRange(const std::shared_ptr<Render::Camera>&) override { record("zRange"); }

    void onUpdateViewport(const std::shared_ptr<Render::Camera>&) override { record("viewport"); }

    void onUpdateRenderMode(Render::RenderMode renderMode) override
    {
        record("renderMode " + std::to_string(static_cast<int>(renderMode)));
    }

    void render() override
    {
        record("render");
        Renderable::render();
    }

    std::optional<Math::Color> backgroundColor() override { return background; }

    bool isTransparent() const override { return transparent; }

    void brightnessAndContrast(float quantile, float range, float& brightness, float& contrast) override
    {
        record("brightness " + std::to_string(quantile) + " " + std::to_string(range));
        startBrightness = brightness;
        startContrast = contrast;
        brightness = answeredBrightness;
        contrast = answeredContrast;
    }

    Math::NBoundingBox<float, 3> boundingBox() override { return box; }

    const Log& log() const { return *mLog; }

    std::optional<Math::Color> background;
    bool transparent = false;
    float answeredBrightness = 0.0f;
    float answeredContrast = 1.0f;
    float startBrightness = -1.0f;  ///< what the arguments held when brightnessAndContrast was called
    float startContrast = -1.0f;
    Math::NBoundingBox<float, 3> box;
    std::shared_ptr<Render::Camera> camera;  ///< of the last init

private:
    void record(const std::string& call) { mLog->push_back(name() + " " + call); }

    std::shared_ptr<Log> mLog;
};
