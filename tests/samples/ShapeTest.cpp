#include "samples/scene/Shape.h"

#include <gtest/gtest.h>

#include <optional>

namespace
{
using Samples::Blob;
using Samples::Patch;
using Samples::Random;
using Samples::Ray;
using Samples::ShapeHit;
using Samples::ShapePoint;
using Samples::Tube;
using Samples::Vector;

constexpr double kFar = 1000;

/// A ray that comes in along the normal must meet the sampled place, with that normal, from a little outside.
template <class Shape>
void expectSamplesAreMet(const Shape& shape)
{
    Random random(11);
    for (int i = 0; i < 500; ++i)
    {
        const ShapePoint place = shape.sample(random);

        const std::optional<ShapeHit> hit =
            shape.intersect({place.position + place.normal * 0.01, -place.normal}, kFar);

        ASSERT_TRUE(hit.has_value());
        EXPECT_NEAR(hit->distance, 0.01, 1e-7);  // directions are good to that
        EXPECT_NEAR(dot(hit->point.normal, place.normal), 1, 1e-9);
        EXPECT_NEAR(hit->point.u, place.u, 1e-6);
        EXPECT_NEAR(hit->point.v, place.v, 1e-6);
    }
}

TEST(Shape, RaysMeetTheSampledPlacesOfAPatch)
{
    expectSamplesAreMet(Patch{{1, 2, 3}, {4, 0, 1}, {0, 3, 0}, false, 0.5, 0.25});
}

TEST(Shape, RaysMeetTheSampledPlacesOfATriangle)
{
    expectSamplesAreMet(Patch{{1, 2, 3}, {4, 0, 1}, {0, 3, 0}, true});
}

TEST(Shape, RaysMeetTheSampledPlacesOfABlob)
{
    expectSamplesAreMet(Blob{{1, 2, 3}, 2, 0.7});
}

TEST(Shape, RaysMeetTheSampledPlacesOfATube)
{
    expectSamplesAreMet(Tube{{1, 2, 3}, {1, 1, 4}, 0.8, 0.3});
    expectSamplesAreMet(Tube{{1, 2, 3}, {3, 0, 0}, 0.5, 0.5, true});
}

TEST(Shape, RaysPassBesideATriangleWhereItsParallelogramWouldBe)
{
    const Ray ray{{0.9, 0.9, 5}, {0, 0, -1}};

    EXPECT_TRUE((Patch{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}.intersect(ray, kFar)));
    EXPECT_FALSE((Patch{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, true}.intersect(ray, kFar)));
}

TEST(Shape, RaysEndAtTheirDistance)
{
    const Ray ray{{0, 0, 5}, {0, 0, -1}};

    EXPECT_TRUE((Blob{{0, 0, 0}, 1, 1}.intersect(ray, 4.01)));
    EXPECT_FALSE((Blob{{0, 0, 0}, 1, 1}.intersect(ray, 3.99)));
}

TEST(Shape, RayFromInsideABlobMeetsItsFarSide)
{
    const std::optional<ShapeHit> hit = Blob{{0, 0, 0}, 2, 1}.intersect({{0, 0, 0}, {0, 0, 1}}, kFar);

    ASSERT_TRUE(hit.has_value());
    EXPECT_DOUBLE_EQ(hit->distance, 1);
}

TEST(Shape, OpenTubeLetsARayThroughAlongItsAxis)
{
    const Ray ray{{0, 0, 5}, {0, 0, -1}};

    EXPECT_FALSE((Tube{{0, 0, 0}, {0, 0, 1}, 1, 1, false}.intersect(ray, kFar)));
    EXPECT_TRUE((Tube{{0, 0, 0}, {0, 0, 1}, 1, 1, true}.intersect(ray, kFar)));
}

TEST(Shape, AreasOfPlainForms)
{
    EXPECT_DOUBLE_EQ((Patch{{0, 0, 0}, {2, 0, 0}, {0, 3, 0}}.area()), 6);
    EXPECT_DOUBLE_EQ((Patch{{0, 0, 0}, {2, 0, 0}, {0, 3, 0}, true}.area()), 3);
    EXPECT_NEAR((Blob{{0, 0, 0}, 2, 2}.area()), 50.265482, 1e-6);
    EXPECT_NEAR((Tube{{0, 0, 0}, {0, 0, 3}, 1, 1, true}.area()), 25.132741, 1e-6);
}
}  // namespace
