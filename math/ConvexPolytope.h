#pragma once

#include "math/HalfSpace.h"
#include "math/NBoundingBox.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace Math
{
/// An intersection of half-spaces; without any it is the whole space.
template <class T, std::size_t N>
class ConvexPolytope
{
public:
    ConvexPolytope() = default;

    /// What lies in all of the half-spaces.
    explicit ConvexPolytope(std::vector<HalfSpace<T, N>> halfSpaces) : mHalfSpaces(std::move(halfSpaces)) {}

    /// As given.
    const std::vector<HalfSpace<T, N>>& halfSpaces() const noexcept { return mHalfSpaces; }

    /// Number of half-spaces.
    std::size_t size() const noexcept { return mHalfSpaces.size(); }

    /// Whether there are no half-spaces, so that nothing is cut away.
    bool empty() const noexcept { return mHalfSpaces.empty(); }

    /// True when the point satisfies every half-space, borders included.
    bool contains(const Point<T, N>& point) const noexcept
    {
        for (const HalfSpace<T, N>& halfSpace : mHalfSpaces)
        {
            if (!halfSpace.contains(point))
            {
                return false;
            }
        }
        return true;
    }

    friend bool operator==(const ConvexPolytope&, const ConvexPolytope&) = default;

private:
    std::vector<HalfSpace<T, N>> mHalfSpaces;
};
}  // namespace Math
