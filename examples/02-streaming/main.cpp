// Streams a data set while the camera flies around it, telling how far the loading is: streaming DATASET
// PICTURE.png
#include <octree/Location.h>
#include <render/pointcloud/PointCloudRenderable.h>
#include <render/renderer/Renderer.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <exception>
#include <numbers>
#include <thread>

namespace
{
constexpr int kFramesOfAFlight = 60;
constexpr std::chrono::milliseconds kTimeOfAFrame(16);

void lookFrom(Render::Renderer& renderer, float angle)
{
    const Math::NBoundingBox<float, 3> box = renderer.boundingBox();
    const Math::Point<float, 3> center = box.center();
    const float distance = 1.2F * box.largestSize();
    const Math::Point<float, 3> eye(
        center.x + distance * std::cos(angle),
        center.y + distance * std::sin(angle),
        center.z + 0.6F * distance
    );
    renderer.setCameraPose(eye, center, Eigen::Vector3f(Eigen::Vector3f::UnitZ()));
}

/// What a progress bar would show.
void print(int frame, std::chrono::duration<double, std::milli> time, const Render::CloudStatus& status)
{
    std::printf(
        "frame %2d: %5.1f ms, %zu points of %zu nodes; loaded %zu nodes, %zu to look at, %zu of %zu "
        "points%s\n",
        frame,
        time.count(),
        status.drawnPoints,
        status.drawnNodes,
        status.residentNodes,
        status.pendingNodes,
        status.usedBudgetPoints,
        status.budgetPoints,
        status.isComplete ? ", complete" : ""
    );
}
}  // namespace

int main(int argc, char** argv)
try
{
    if (argc != 3)
    {
        std::fprintf(stderr, "usage: streaming DATASET PICTURE.png\n");
        return 2;
    }
    const auto cloud =
        Render::PointCloudRenderable::create(Octree::Location::fromPath(argv[1]), "cloud", 1'000'000, 1.0);

    Render::Renderer renderer;
    renderer.setViewport(640, 480);
    renderer.setScene(cloud);
    renderer.setAutoAdjustZRange(true);
    renderer.setPerspective(45.0F, 0.01F, 1000.0F, 0.0F, 0.0F);
    lookFrom(renderer, 0.0F);
    cloud->startAsyncReload(nullptr);

    // While the camera moves there is a frame for each pose, whatever has been loaded by then.
    for (int frame = 0; frame < kFramesOfAFlight; ++frame)
    {
        lookFrom(renderer, 2.0F * std::numbers::pi_v<float> * static_cast<float>(frame) / kFramesOfAFlight);
        const auto begin = std::chrono::steady_clock::now();
        renderer.render();
        if (frame % 10 == 0)
        {
            print(frame, std::chrono::steady_clock::now() - begin, cloud->status());
        }
        std::this_thread::sleep_until(begin + kTimeOfAFrame);  // as a screen would make it wait
    }

    // Then only when something has arrived, until everything has.
    for (bool isComplete = false; !isComplete;)
    {
        isComplete = cloud->isAsyncReloadComplete();  // asked first: what completes it is still to be drawn
        cloud->isAsyncReloadHealthy(true);            // throws what the loading has failed with
        if (renderer.needsRedraw())
        {
            renderer.render();
        }
    }
    print(kFramesOfAFlight, {}, cloud->status());
    renderer.writePngImage(argv[2]);
    return 0;
}

catch (const std::exception& error)
{
    std::fprintf(stderr, "streaming: %s\n", error.what());
    return 1;
}
