#include "samples/scene/SurfaceTree.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <variant>
#include <vector>

namespace
{
using Samples::Blob;
using Samples::Material;
using Samples::Random;
using Samples::Ray;
using Samples::ShapeHit;
using Samples::Surface;
using Samples::SurfaceHit;
using Samples::SurfaceTree;
using Samples::Vector;

Surface ball(Vector center, double radius, Material material = Material::Plaster)
{
    return {.shape = Blob{center, radius, radius}, .finish = {material, {}}};
}

TEST(SurfaceTree, FindsWhatASearchThroughAllSurfacesFinds)
{
    Random random(99);
    std::vector<Surface> surfaces;
    for (int i = 0; i < 300; ++i)
    {
        const Vector center{random.between(0, 20), random.between(0, 20), random.between(0, 20)};
        surfaces.push_back(ball(center, random.between(0.1, 0.6)));
    }
    const SurfaceTree tree(surfaces);

    int hits = 0;
    for (int i = 0; i < 500; ++i)
    {
        const Vector origin{random.between(-5, 25), random.between(-5, 25), random.between(-5, 25)};
        const Vector target{random.between(0, 20), random.between(0, 20), random.between(0, 20)};
        const Ray ray{origin, normalized(target - origin)};
        double nearest = 40;
        for (const Surface& surface : surfaces)
        {
            if (const std::optional<ShapeHit> hit = std::get<Blob>(surface.shape).intersect(ray, nearest))
            {
                nearest = hit->distance;
            }
        }

        const std::optional<SurfaceHit> found = tree.nearest(ray, 40);

        EXPECT_EQ(found.has_value(), nearest < 40);
        if (found)
        {
            EXPECT_EQ(found->hit.distance, nearest);
            ++hits;
        }
    }
    EXPECT_GT(hits, 100);
}

TEST(SurfaceTree, OpaqueSurfacesStopLight)
{
    const std::vector<Surface> surfaces{ball({5, 0, 0}, 1)};
    const SurfaceTree tree(surfaces);

    EXPECT_EQ(tree.transmittance({{0, 0, 0}, {1, 0, 0}}, 100), 0);
    EXPECT_EQ(tree.transmittance({{0, 0, 0}, {1, 0, 0}}, 3), 1);
    EXPECT_EQ(tree.transmittance({{0, 0, 0}, {0, 1, 0}}, 100), 1);
}

TEST(SurfaceTree, EachClumpOfLeavesDimsLight)
{
    const std::vector<Surface> surfaces{
        ball({5, 0, 0}, 1, Material::Foliage), ball({9, 0, 0}, 1, Material::Foliage)};
    const SurfaceTree tree(surfaces);

    const double one = tree.transmittance({{0, 0, 0}, {1, 0, 0}}, 7);
    const double two = tree.transmittance({{0, 0, 0}, {1, 0, 0}}, 100);

    EXPECT_GT(one, 0);
    EXPECT_LT(one, 1);
    EXPECT_DOUBLE_EQ(two, one * one);
}

TEST(SurfaceTree, WithoutSurfacesNothingIsMet)
{
    const SurfaceTree tree({});

    EXPECT_FALSE(tree.nearest({{0, 0, 0}, {1, 0, 0}}, 100).has_value());
    EXPECT_EQ(tree.transmittance({{0, 0, 0}, {1, 0, 0}}, 100), 1);
}
}  // namespace
