#include "samples/scene/Surface.h"

namespace Samples
{
Vector Frame::direction(Vector local) const noexcept
{
    const Vector left{-along.y, along.x, 0};
    return along * local.x + left * local.y + Vector{0, 0, local.z};
}

void Assembly::quad(Vector corner, Vector edgeU, Vector edgeV, const Finish& finish)
{
    piece(corner, edgeU, edgeV, 0, 0, finish);
}

void Assembly::triangle(Vector corner, Vector edgeU, Vector edgeV, const Finish& finish)
{
    add(Patch{mFrame.place(corner), mFrame.direction(edgeU), mFrame.direction(edgeV), true}, finish);
}

void Assembly::piece(
    Vector corner, Vector edgeU, Vector edgeV, double startU, double startV, const Finish& finish
)
{
    add(Patch{mFrame.place(corner), mFrame.direction(edgeU), mFrame.direction(edgeV), false, startU, startV},
        finish);
}

void Assembly::belt(Vector min, Vector size, const Finish& finish)
{
    const Vector x{size.x, 0, 0};
    const Vector y{0, size.y, 0};
    const Vector z{0, 0, size.z};
    quad(min, x, z, finish);
    quad(min + x, y, z, finish);
    quad(min + x + y, -x, z, finish);
    quad(min + y, -y, z, finish);
}

void Assembly::box(Vector min, Vector size, const Finish& finish)
{
    const Vector x{size.x, 0, 0};
    const Vector y{0, size.y, 0};
    belt(min, size, finish);
    quad(min + Vector{0, 0, size.z}, x, y, finish);
    quad(min, y, x, finish);
}

void Assembly::tube(
    Vector from, Vector to, double fromRadius, double toRadius, const Finish& finish, bool isCapped
)
{
    add(Tube{mFrame.place(from), mFrame.direction(to - from), fromRadius, toRadius, isCapped}, finish);
}

void Assembly::blob(Vector center, double radius, double halfHeight, const Finish& finish)
{
    add(Blob{mFrame.place(center), radius, halfHeight}, finish);
}

void Assembly::add(const Shape& shape, const Finish& finish)
{
    mSurfaces.push_back({.shape = shape, .finish = finish, .classification = mClassification});
}
}  // namespace Samples
