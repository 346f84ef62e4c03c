// Shows a data set in a window; the mouse turns it, the wheel comes nearer: window DATASET [FRAMES]
//
// With FRAMES the window closes after as many. The picture goes by way of the processor's memory, so that it
// works whatever SDL draws with; 06-shared-device shows the way without.
#include <graphics/ColorImage.h>
#include <octree/Location.h>
#include <render/pointcloud/PointCloudRenderable.h>
#include <render/renderer/Renderer.h>

#define SDL_MAIN_HANDLED
#include <SDL.h>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

namespace
{
constexpr int kWidth = 800;
constexpr int kHeight = 600;

template <class T>
using Owned = std::unique_ptr<T, void (*)(T*)>;

/// What SDL has made; its error if it has not.
template <class T>
T* made(T* object)
{
    if (object == nullptr)
    {
        throw std::runtime_error(std::string("SDL: ") + SDL_GetError());
    }
    return object;
}

/// Circles around the data set.
class Orbit
{
public:
    void turn(int dx, int dy)
    {
        mAzimuth -= 0.01F * static_cast<float>(dx);
        mElevation = std::clamp(mElevation + 0.01F * static_cast<float>(dy), 0.05F, 1.5F);
    }

    void approach(int steps) { mDistance *= std::pow(0.9F, static_cast<float>(steps)); }

    void applyTo(Render::Renderer& renderer) const
    {
        const Math::NBoundingBox<float, 3> box = renderer.boundingBox();
        const Math::Point<float, 3> center = box.center();
        const float distance = mDistance * box.largestSize();
        const Math::Point<float, 3> eye(
            center.x + distance * std::cos(mElevation) * std::cos(mAzimuth),
            center.y + distance * std::cos(mElevation) * std::sin(mAzimuth),
            center.z + distance * std::sin(mElevation)
        );
        renderer.setCameraPose(eye, center, Eigen::Vector3f(Eigen::Vector3f::UnitZ()));
    }

private:
    float mAzimuth = -1.2F;
    float mElevation = 0.7F;
    float mDistance = 1.3F;  // in sizes of the data set
};

/// Lets the user move; false when the window is to close.
bool takeEvents(Orbit& orbit, Render::Renderer& renderer)
{
    SDL_Event event;
    while (SDL_PollEvent(&event) != 0)
    {
        switch (event.type)
        {
            case SDL_QUIT:
                return false;
            case SDL_MOUSEMOTION:
                if ((event.motion.state & SDL_BUTTON_LMASK) != 0)
                {
                    orbit.turn(event.motion.xrel, event.motion.yrel);
                }
                break;
            case SDL_MOUSEWHEEL:
                orbit.approach(event.wheel.y);
                break;
            default:
                break;
        }
    }
    orbit.applyTo(renderer);
    return true;
}

void show(Render::Renderer& renderer, SDL_Renderer* target, SDL_Texture* texture)
{
    void* pixels = nullptr;
    int pitch = 0;
    if (SDL_LockTexture(texture, nullptr, &pixels, &pitch) != 0)
    {
        throw std::runtime_error(std::string("SDL: ") + SDL_GetError());
    }
    const auto rowPitch = static_cast<std::size_t>(pitch);
    renderer.getColorImage({static_cast<std::byte*>(pixels), rowPitch * kHeight}, rowPitch, kHeight);
    SDL_UnlockTexture(texture);
    SDL_RenderCopy(target, texture, nullptr, nullptr);
    SDL_RenderPresent(target);
}

void run(const char* dataset, int frames)
{
    const Owned<SDL_Window> window(
        made(SDL_CreateWindow(dataset, SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED, kWidth, kHeight, 0)),
        SDL_DestroyWindow
    );
    const Owned<SDL_Renderer> target(made(SDL_CreateRenderer(window.get(), -1, 0)), SDL_DestroyRenderer);
    const Owned<SDL_Texture> texture(  // in memory blue comes first, as in our pictures
        made(SDL_CreateTexture(
            target.get(), SDL_PIXELFORMAT_BGRA32, SDL_TEXTUREACCESS_STREAMING, kWidth, kHeight
        )),
        SDL_DestroyTexture
    );

    const auto cloud =
        Render::PointCloudRenderable::create(Octree::Location::fromPath(dataset), "cloud", 1'000'000, 1.0);
    Render::Renderer renderer;
    renderer.setViewport(kWidth, kHeight);
    renderer.setBackgroundColor(255, 255, 255, 255);
    renderer.setScene(cloud);
    renderer.setAutoAdjustZRange(true);
    renderer.setPerspective(45.0F, 0.01F, 1000.0F, 0.0F, 0.0F);
    cloud->startAsyncReload(nullptr);

    Orbit orbit;
    int shown = 0;
    while (takeEvents(orbit, renderer) && shown != frames)
    {
        if (renderer.needsRedraw())
        {
            renderer.render();
        }
        show(renderer, target.get(), texture.get());
        // A limited run counts the frames that are complete.
        shown += frames > 0 && cloud->isAsyncReloadComplete() && !renderer.needsRedraw() ? 1 : 0;
        SDL_Delay(10);
    }
}
}  // namespace

int main(int argc, char** argv)
try
{
    if (argc < 2 || argc > 3)
    {
        std::fprintf(stderr, "usage: window DATASET [FRAMES]\n");
        return 2;
    }
    SDL_SetMainReady();
    if (SDL_Init(SDL_INIT_VIDEO) != 0)
    {
        throw std::runtime_error(std::string("SDL: ") + SDL_GetError());
    }
    const std::unique_ptr<const int, void (*)(const int*)> quit(&argc, [](const int*) { SDL_Quit(); });
    run(argv[1], argc == 3 ? std::atoi(argv[2]) : 0);
    return 0;
}

catch (const std::exception& error)
{
    std::fprintf(stderr, "window: %s\n", error.what());
    return 1;
}
