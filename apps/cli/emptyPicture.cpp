#include "apps/cli/emptyPicture.h"

#include <Eigen/Core>

#include <algorithm>
#include <array>

namespace Cli
{
namespace
{
using Corners = std::array<Eigen::Vector4f, 8>;

Corners cornersOf(const Math::NBoundingBox<float, 3>& box)
{
    Corners corners;
    for (unsigned int i = 0; i < corners.size(); ++i)
    {
        corners[i] = {
            (i & 4U) != 0 ? box.max().x : box.min().x,
            (i & 2U) != 0 ? box.max().y : box.min().y,
            (i & 1U) != 0 ? box.max().z : box.min().z,
            1.0F};
    }
    return corners;
}

/// Whether all corners lie beyond one border of the picture.
bool isBeside(const Corners& corners, const Eigen::Matrix4f& viewProjection)
{
    for (int axis = 0; axis < 2; ++axis)
    {
        for (const float side : {-1.0F, 1.0F})
        {
            const auto isBeyond = [&](const Eigen::Vector4f& corner)
            {
                const Eigen::Vector4f clip = viewProjection * corner;
                return side * clip[axis] > clip.w();
            };
            if (std::ranges::all_of(corners, isBeyond))
            {
                return true;
            }
        }
    }
    return false;
}
}  // namespace

std::string reasonOfEmptyPicture(const EmptyPicture& picture)
{
    if (picture.box.isEmpty())
    {
        return "there is nothing in the scene";
    }
    const Corners corners = cornersOf(picture.box);
    const auto isBehind = [&](const Eigen::Vector4f& corner)
    { return (picture.camera.viewMatrix() * corner).z() >= 0.0F; };
    if (picture.camera.isPerspective() && std::ranges::all_of(corners, isBehind))
    {
        return "all of the scene lies behind the camera";
    }
    const auto cutsAll = [&](const Math::HalfSpace<float, 3>& plane)
    {
        const Eigen::Vector4f coefficients(plane.a, plane.b, plane.c, plane.d);
        return std::ranges::all_of(
            corners, [&](const Eigen::Vector4f& corner) { return coefficients.dot(corner) < 0.0F; }
        );
    };
    if (std::ranges::any_of(picture.clipPlanes, cutsAll))
    {
        return "all of the scene is clipped away by --clip";
    }
    if (isBeside(corners, picture.camera.viewProjectionMatrix()))
    {
        return "all of the scene lies beside the picture";
    }
    if (picture.drawnPoints == 0)
    {
        return "no point is resident: no node in the picture fits into --budget, or is as large as "
               "--threshold asks "
               "for, or is left by --max-level and --clip";
    }
    if (picture.isFiltered)
    {
        return "the classes, intensities and scans to show have no point there";
    }
    return picture.clipPlanes.empty() ? "what lies in its direction has no points there"
                                      : "the points that lie there are clipped away by --clip";
}
}  // namespace Cli
