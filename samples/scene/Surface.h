#pragma once

#include "samples/scene/Material.h"
#include "samples/scene/Shape.h"

#include <cstdint>
#include <vector>

namespace Samples
{
/// How a surface looks and how densely it is scanned.
struct Finish
{
    Material material = Material::Plaster;
    Tint tint;
    double density = 1;  ///< points per area against other surfaces; thin things need more to be seen
};

/// A piece of the scene that is no ground.
struct Surface
{
    Shape shape;
    Finish finish;
    double openness = 1;      ///< of leaves: the share of the sky that the rest of their crown leaves free
    std::uint32_t group = 0;  ///< clumps of leaves of one crown share a number above 0
    std::uint8_t classification = 6;  ///< LAS code
};

/// A place and a direction in which something is built: x along, y to the left, z up.
struct Frame
{
    Vector origin;
    Vector along{1, 0, 0};

    Vector direction(Vector local) const noexcept;

    Vector place(Vector local) const noexcept { return origin + direction(local); }
};

/// Puts surfaces together in the frame of the thing that is being built.
class Assembly
{
public:
    Assembly(std::vector<Surface>& surfaces, const Frame& frame, std::uint8_t classification) noexcept
        : mSurfaces(surfaces), mFrame(frame), mClassification(classification)
    {
    }

    /// A parallelogram; edgeU x edgeV points outwards.
    void quad(Vector corner, Vector edgeU, Vector edgeV, const Finish& finish);
    void triangle(Vector corner, Vector edgeU, Vector edgeV, const Finish& finish);

    /// A piece of a larger parallelogram whose pattern began at (startU, startV) metres before.
    void piece(Vector corner, Vector edgeU, Vector edgeV, double startU, double startV, const Finish& finish);

    /// The four upright sides of a box.
    void belt(Vector min, Vector size, const Finish& finish);

    /// All six sides.
    void box(Vector min, Vector size, const Finish& finish);

    void tube(
        Vector from,
        Vector to,
        double fromRadius,
        double toRadius,
        const Finish& finish,
        bool isCapped = false
    );
    void blob(Vector center, double radius, double halfHeight, const Finish& finish);

private:
    void add(const Shape& shape, const Finish& finish);

    std::vector<Surface>& mSurfaces;
    Frame mFrame;
    std::uint8_t mClassification;
};
}  // namespace Samples
