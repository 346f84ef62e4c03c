#pragma once

#include "render/pano/PanoRenderable.h"
#include "tests/render/pano/RecordingPanoramaLoader.h"
#include "tests/render/renderer/RendererFixture.h"

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <memory>

namespace Render
{
/// A panorama seen from its centre, in a picture of 33 x 33 pixels of 90 degrees. The pixel in the middle
/// looks exactly ahead.
class PanoRenderableDevice : public RendererFixture
{
public:
    static constexpr Math::Color kBlack{0, 0, 0, 255};
    static constexpr Math::Color kWhite{255, 255, 255, 255};
    static constexpr std::uint64_t kSize = 33;
    static constexpr std::uint64_t kMiddle = 16;
    static constexpr float kNear = 0.5F;
    static constexpr float kFar = 100.0F;

    void SetUp() override
    {
        RendererFixture::SetUp();
        if (mRenderer)
        {
            makeRenderer(true);
        }
    }

    void makeRenderer(bool reversedZ)
    {
        mRenderer = std::make_unique<Renderer>(reversedZ);
        mRenderer->setViewport(kSize, kSize);
        mRenderer->setPerspective(90.0F, kNear, kFar, 0.0F, 0.0F);
        mRenderer->setBackgroundColor(kBlack);
        lookAlong(Eigen::Vector3f::UnitX());
    }

    void lookAlong(const Eigen::Vector3f& direction)
    {
        const bool isUpright = std::abs(direction.normalized().z()) < 0.9F;
        mRenderer->setCameraPose(
            Math::Point<float, 3>(0.0F, 0.0F, 0.0F),
            direction,
            isUpright ? Eigen::Vector3f(Eigen::Vector3f::UnitZ()) : Eigen::Vector3f(Eigen::Vector3f::UnitY())
        );
    }

    void makePano(std::uint64_t colorLevels, std::uint64_t depthLevels)
    {
        loader = std::make_shared<RecordingPanoramaLoader>(colorLevels, depthLevels);
        pano = PanoRenderable::create(loader, "pano");
    }

    void showPano()
    {
        mRenderer->setScene(pano);
        mRenderer->render();
    }

    /// Direction of a pixel in the world, of unit length.
    Eigen::Vector3f direction(std::uint64_t x, std::uint64_t y) const
    {
        const Eigen::Vector3f inView(
            2.0F * (static_cast<float>(x) + 0.5F) / kSize - 1.0F,
            1.0F - 2.0F * (static_cast<float>(y) + 0.5F) / kSize,
            -1.0F
        );
        const Eigen::Matrix3f toWorld = mRenderer->viewMatrix().topLeftCorner<3, 3>().transpose();
        return (toWorld * inView).normalized();
    }

    /// Where the frame has put a pixel.
    Eigen::Vector3f positionAt(std::uint64_t x, std::uint64_t y)
    {
        Math::Point<float, 3> point;
        EXPECT_TRUE(mRenderer->pickPoint(x, y, point)) << x << ", " << y;
        return {point.x, point.y, point.z};
    }

    void expectDistance(std::uint64_t x, std::uint64_t y, float distance)
    {
        SCOPED_TRACE(testing::Message() << x << ", " << y);
        const Eigen::Vector3f expected = distance * direction(x, y);
        const Eigen::Vector3f actual = positionAt(x, y);
        EXPECT_NEAR((actual - expected).norm(), 0.0F, 2e-4F * distance);
        const Eigen::Vector4f clip = mRenderer->camera()->viewProjectionMatrix() * actual.homogeneous();
        EXPECT_NEAR(depthImage(*mRenderer).pixel(x, y), clip.z() / clip.w(), 1e-5F);
    }

    /// The far plane less one unit, along the line of sight.
    float farthest(std::uint64_t x, std::uint64_t y) const
    {
        const Eigen::Vector3f ahead = mRenderer->viewDirection().normalized();
        return (kFar - 1.0F) / direction(x, y).dot(ahead);
    }

    std::shared_ptr<RecordingPanoramaLoader> loader;
    std::shared_ptr<PanoRenderable> pano;
};
}  // namespace Render
