#pragma once

#include "samples/scene/Shape.h"
#include "samples/scene/Surface.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace Samples
{
/// What a ray meets of a list of surfaces.
struct SurfaceHit
{
    std::size_t surface = 0;  ///< index in the list
    ShapeHit hit;
};

/// Finds the surfaces that a ray meets without looking at all of them.
///
/// Threads  const operations from any threads at once.
/// Source   bounding volume hierarchy, split at the median: P. Shirley, "Realistic Ray Tracing" (2003),
///          chapter 9.
class SurfaceTree
{
public:
    /// @param surfaces  must outlive the tree and stay as they are
    explicit SurfaceTree(std::span<const Surface> surfaces);

    std::optional<SurfaceHit> nearest(const Ray& ray, double maxDistance) const;

    /// The share of light that passes along a ray: leaves let some through, all else nothing.
    double transmittance(const Ray& ray, double maxDistance) const;

private:
    struct Node
    {
        Bounds bounds;
        std::uint32_t first =
            0;  ///< of mOrder for leaves; else the second child, the first one follows its parent
        std::uint32_t count = 0;  ///< 0 for inner nodes
    };

    void build(std::uint32_t first, std::uint32_t count);

    /// Calls visit(surface index) for the surfaces near the ray until it returns false. It may shorten
    /// maxDistance.
    template <class Visit>
    void walk(const Ray& ray, const double& maxDistance, Visit visit) const;

    std::span<const Surface> mSurfaces;
    std::vector<Bounds> mBounds;
    std::vector<std::uint32_t> mOrder;
    std::vector<Node> mNodes;
};
}  // namespace Samples
