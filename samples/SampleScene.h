#pragma once

#include "math/Point.h"
#include "samples/SamplePoint.h"
#include "samples/scene/Daylight.h"
#include "samples/scene/SitePlan.h"
#include "samples/scene/Surface.h"
#include "samples/scene/SurfaceTree.h"
#include "samples/scene/Terrain.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace Samples
{
/// What a ray meets in the scene.
struct SceneHit
{
    double distance = 0;  ///< metres
    ScenePlace place;
};

/// An invented landscape to look at: a village with a church, a road, a wood, an orchard, fields, a pond and
/// a power line, on a sunny morning in spring.
///
/// The scene is made of shapes with materials, and the same seed gives the same shapes on every platform.
/// What is taken of it (scans, and pictures through raycast) therefore fits together.
/// Frame  metres, x east, y north, z up, from the corner at `kOrigin`; 0 to `kSize` east and north. A scan is
///        in absolute coordinates.
/// Threads  const operations from any threads at once.
class SampleScene
{
public:
    /// The scene's south-west corner in projected coordinates, below all points.
    static constexpr Math::Point<double, 3> kOrigin{637000.0, 5651000.0, 250.0};

    /// Edge of the square of land, metres; nothing stands taller than it is wide.
    static constexpr double kSize = SitePlan::kSize;

    explicit SampleScene(std::uint64_t seed = 1);
    SampleScene(const SampleScene&) = delete;
    SampleScene& operator=(const SampleScene&) = delete;

    /// Measures points all over the scene: positions to the millimetre with some noise, colours as
    /// photographed, intensities by material, the scanner that stands nearest, surface normals and LAS
    /// classification codes.
    /// @param pointCount   exactly so many points
    /// @param threadCount  0 for one per core; does not change the result
    std::vector<SamplePoint> scan(std::size_t pointCount, unsigned threadCount = 0) const;

    /// The first thing that a ray meets.
    /// @param ray  in the scene's frame
    std::optional<SceneHit> raycast(const Ray& ray, double maxDistance) const;

    /// Colour of a place as photographed, 0 to 1, gamma coded.
    Tint color(const ScenePlace& place) const;

    /// Where the scanners stood, 1.8 m above the ground: free places with a view, in the scene's frame.
    std::span<const Vector> scanners() const noexcept { return mScanners; }

    /// Everything but the ground.
    std::span<const Surface> surfaces() const noexcept { return mSurfaces; }

    const Terrain& terrain() const noexcept { return mTerrain; }

    const SitePlan& plan() const noexcept { return mPlan; }

private:
    /// The surfaces of a crown's clumps of leaves.
    struct Crown
    {
        std::size_t first = 0;
        std::size_t count = 0;
    };

    ScenePlace groundAt(double x, double y) const;
    ScenePlace placeOn(const Surface& surface, const ShapePoint& point) const;
    ScenePlace sampleGround(std::size_t cell, Random& random) const;
    bool isHidden(const ScenePlace& place, std::uint32_t group, std::size_t surface) const;
    double groundWeight(std::size_t cell) const;
    double surfaceWeight(const Surface& surface) const;
    double scanDensity(Vector position) const;
    std::size_t nearestScanner(Vector position) const;
    void scanItem(std::size_t item, std::span<SamplePoint> points) const;
    SamplePoint measured(ScenePlace place, Random& random) const;

    std::uint64_t mSeed;
    SitePlan mPlan;
    Terrain mTerrain;
    std::vector<Surface> mSurfaces;
    std::vector<Crown> mCrowns;  ///< by group
    SurfaceTree mTree;
    Daylight mDaylight;
    std::vector<Vector> mScanners;
};
}  // namespace Samples
