#pragma once

#include "samples/scene/Material.h"
#include "samples/scene/SurfaceTree.h"
#include "samples/scene/Vector.h"

namespace Samples
{
/// A place in the scene with what is needed to light it.
struct ScenePlace
{
    ShapePoint point;
    Finish finish;
    double openness = 1;  ///< as Surface::openness
    std::uint8_t classification = 0;
};

/// Morning sun and a clear sky over a list of surfaces, which cast shadows.
///
/// Threads  const operations from any threads at once.
class Daylight
{
public:
    /// @param surfaces  must outlive this object
    explicit Daylight(const SurfaceTree& surfaces) noexcept : mSurfaces(surfaces) {}

    /// From the scene to the sun, length 1.
    static Vector sunDirection() noexcept;

    /// What a photograph shows of a place: reflected sun and sky light, 0 to 1 and gamma coded.
    /// @param random  for soft shadows; the same numbers give the same colour
    Tint photographed(const ScenePlace& place, Random& random) const;

private:
    double sunlight(const ScenePlace& place, Random& random) const;
    double skylight(const ScenePlace& place, Random& random) const;

    const SurfaceTree& mSurfaces;
};
}  // namespace Samples
