#pragma once

#include "render/pano/PanoRenderable.h"
#include "render/pointcloud/PointCloudRenderable.h"
#include "render/renderer/Renderer.h"
#include "render/scene/GroupRenderable.h"
#include "tests/soak/Scenery.h"

#include <cstdint>
#include <memory>
#include <random>
#include <vector>

/// A host that does something at random, again and again: moves, resizes, sets, picks, exports, queries,
/// brings objects into the scene and takes them out, starts and stops their loading.
///
/// Threads  one.
class RandomHost
{
public:
    RandomHost(Scenery scenery, std::uint64_t seed);

    /// Some moves, each followed by a frame that is read back.
    /// @throws what the library throws: nothing that is done here should fail
    void lap(int moves);

    /// Takes everything out, so that nothing should be left but the renderer.
    void rest();

    std::uint64_t frames() const noexcept { return mFrames; }

private:
    void move();
    void moveCamera();
    void project();
    void resize();
    void set();
    void setCloud();
    void clip();
    void pick();
    void exportPoints();
    void query();
    void changeScene();
    void changeLoading();
    void replaceRenderer();
    void draw();

    std::shared_ptr<Render::PointCloudRenderable> anyCloud();
    int below(int limit);
    float between(float low, float high);

    bool maybe() { return below(2) == 0; }

    Scenery mScenery;
    std::mt19937_64 mRandom;
    std::unique_ptr<Render::Renderer> mRenderer;
    std::shared_ptr<Render::GroupRenderable> mScene;
    std::vector<std::shared_ptr<Render::PointCloudRenderable>> mClouds;
    std::shared_ptr<Render::PanoRenderable> mPanorama;
    std::uint64_t mFrames = 0;
};
