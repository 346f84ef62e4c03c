#pragma once

#include "math/NBoundingBox.h"
#include "math/Point.h"
#include "math/eigenAlignment.h"
#include "render/Export.h"

#include <Eigen/Core>

namespace Render
{
/// A box as a camera of a given direction sees it: tells where that camera has to stand so that the box just
/// fills the picture.
///
/// Frame    world coordinates, as the box.
/// Threads  a plain value.
class RENDER_API BoxInView
{
public:
    /// @param box        not empty
    /// @param direction  where to look, of length 1
    /// @param up         not parallel to the direction
    /// @param tangents   of half the fields of view, across and upwards; all of the box is to lie in them
    BoxInView(
        const Math::NBoundingBox<float, 3>& box,
        const Eigen::Vector3f& direction,
        const Eigen::Vector3f& up,
        const Eigen::Vector2f& tangents
    );

    /// The eye that sees the box as large as possible. In camera axes each corner bounds it by the four side
    /// planes of the view through that corner; it lies in the middle of what the planes of both sides leave,
    /// as far forward as the tighter pair allows.
    Math::Point<float, 3> eye() const;

    /// The least distance from the box's centre for an eye that looks at the centre.
    float distance() const;

    /// Width and height of the box at a right angle to the direction.
    Eigen::Vector2f size() const;

private:
    /// What the corners say about one axis of the picture.
    struct Axis
    {
        Eigen::Vector3f direction;
        float tangent = 0.0F;
        float towardsMax = 0.0F;  // most that a corner lies beyond the side plane through the centre
        float towardsMin = 0.0F;
        float min = 0.0F;
        float max = 0.0F;
        float distance = 0.0F;

        Axis(const Eigen::Vector3f& axis, float tangentOfHalf);
        void add(const Eigen::Vector3f& corner, float depth);
        float eyeAcross() const;
        float mostForward() const;
    };

    Eigen::Vector3f mDirection;
    Eigen::Vector3f mCenter;
    Axis mAcross;
    Axis mUpwards;
};
}  // namespace Render
