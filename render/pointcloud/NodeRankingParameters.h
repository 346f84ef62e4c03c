#pragma once

#include "math/ConvexPolytope.h"
#include "math/Frustum.h"
#include "math/NBoundingBox.h"
#include "math/Point.h"
#include "render/Export.h"
#include "render/pointcloud/NodePriority.h"
#include "render/scene/Viewport.h"

#include <Eigen/Core>

#include <cstddef>
#include <cstdint>

namespace Render
{
class Camera;

/// Everything that the ranking of a cloud's nodes depends on, so that a loader thread can rank while the
/// host changes camera and settings.
///
/// Frame    model coordinates, which are the octree's.
/// Threads  a plain value.
struct NodeRankingParameters
{
    /// By how much the loading frustum is wider and higher than the camera's: nodes just outside the view
    /// are loaded too.
    static constexpr float kLoadingFrustumScale = 2.0F;

    std::uint64_t minLevelToKeep = 0;               ///< levels below it are loaded whatever their size
    std::uint64_t maxLevelToKeep = 23;              ///< levels above it are never loaded
    float octreeNodePriorityThreshold = 15.0F;      ///< pixels
    Math::ConvexPolytope<float, 3> clippingVolume;  ///< nothing outside is loaded

    // from the camera
    bool isPerspective = true;                                 ///< else parallel
    float fovYRad = 0.0F;                                      ///< vertical field of view
    Eigen::Matrix4f projection = Eigen::Matrix4f::Identity();  ///< from camera coordinates to the picture's
    Viewport viewport;                                         ///< of the picture
    Math::Point<float, 3> eye;                                 ///< where the camera is
    Math::Frustum<float> loadingFrustum;                       ///< nothing outside is loaded
    float modelScale = 1.0F;                                   ///< length of the model matrix's first column

    /// Fills in what comes from the camera.
    /// @param model  from model to world coordinates
    RENDER_API void setCamera(const Camera& camera, const Eigen::Matrix4f& model);

    /// Levels below the minimum are kept, levels above the maximum discarded, the maximum first; the rest
    /// is ranked by its size on screen.
    RENDER_API NodePriority rank(std::uint64_t level, const Math::NBoundingBox<float, 3>& box) const;

    /// What no priority of a node's children comes near to, by a thousandth; infinite where that is not
    /// known.
    /// @param level      that of the children
    /// @param box        the node's own
    /// @param childMask  bit i: child i exists
    RENDER_API float mostOfChildren(
        std::uint64_t level, const Math::NBoundingBox<float, 3>& box, unsigned childMask
    ) const;
};
}  // namespace Render
