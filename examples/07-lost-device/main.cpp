// Goes on after the device was lost, as when a driver is updated: lost-device DATASET PICTURE.png
//
// Since no program can lose a device at will, an object in the scene claims once that it has happened.
#include <octree/Location.h>
#include <render/gpu/DeviceLostException.h>
#include <render/pointcloud/PointCloudRenderable.h>
#include <render/renderer/Renderer.h>
#include <render/scene/GroupRenderable.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>
#include <thread>
#include <utility>

namespace
{
constexpr long kDeviceRemoved = static_cast<long>(0x887A0005);  // DXGI_ERROR_DEVICE_REMOVED

/// Draws nothing, and loses the device in its second frame.
class Mishap : public Render::Renderable
{
public:
    Mishap() : Renderable("mishap") {}

    Math::NBoundingBox<float, 3> boundingBox() override { return {}; }

    void render() override
    {
        Renderable::render();
        if (++mFrames == 2)
        {
            throw Render::DeviceLostException(kDeviceRemoved);
        }
    }

private:
    int mFrames = 0;
};

/// What belongs to the renderer and has to be said again to a new one. The scene keeps its own settings.
std::unique_ptr<Render::Renderer> createRenderer(const std::shared_ptr<Render::Renderable>& scene)
{
    auto renderer = std::make_unique<Render::Renderer>();
    renderer->setViewport(640, 480);
    renderer->setScene(scene);
    renderer->setAutoAdjustZRange(true);
    renderer->setPerspective(45.0F, 0.01F, 1000.0F, 0.0F, 0.0F);
    const Math::NBoundingBox<float, 3> box = renderer->boundingBox();
    const Math::Point<float, 3> center = box.center();
    const Math::Point<float, 3> eye(center.x, center.y - box.largestSize(), center.z + box.largestSize());
    renderer->setCameraPose(eye, center, Eigen::Vector3f(Eigen::Vector3f::UnitZ()));
    return renderer;
}
}  // namespace

int main(int argc, char** argv)
try
{
    if (argc != 3)
    {
        std::fprintf(stderr, "usage: lost-device DATASET PICTURE.png\n");
        return 2;
    }
    const auto cloud =
        Render::PointCloudRenderable::create(Octree::Location::fromPath(argv[1]), "cloud", 1'000'000, 1.0);
    const auto scene = Render::GroupRenderable::create("scene");
    scene->add(cloud);
    scene->add(std::make_shared<Mishap>());

    std::unique_ptr<Render::Renderer> renderer = createRenderer(scene);
    cloud->startAsyncReload(nullptr);
    for (bool isComplete = false; !isComplete;)
    {
        isComplete = cloud->isAsyncReloadComplete() && !renderer->needsRedraw();
        try
        {
            cloud->isAsyncReloadHealthy(true);
            renderer->render();
        }
        catch (const Render::DeviceLostException& error)
        {
            std::printf("%s: going on with a new renderer\n", error.what());
            renderer.reset();  // first: the scene gives up what it had on the old device
            renderer = createRenderer(scene);
            cloud->startAsyncReload(nullptr);  // what had been loaded comes from the cache
            isComplete = false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    renderer->writePngImage(argv[2]);
    return 0;
}

catch (const std::exception& error)
{
    std::fprintf(stderr, "lost-device: %s\n", error.what());
    return 1;
}
