#include "graphics/DepthImage.h"
#include "render/renderer/ColorMap.h"
#include "render/scene/GroupRenderable.h"
#include "render/scene/RenderMode.h"
#include "render/thumbnail/createThumbnail.h"
#include "tests/render/pointcloud/TestCloud.h"
#include "tests/support/ImageComparer.h"
#include "tests/support/messageOf.h"
#include "tests/support/printColor.h"

#include <gtest/gtest.h>

namespace
{
using Render::RenderMode;
using HalfSpace = Math::HalfSpace<float, 3>;

/// The golden pictures come from the software renderer that the tests run on, which repeats itself bit by
/// bit. The room is for rounding where another version computes in another order.
constexpr ImageTolerance kRounding{3, 0.02};

/// The meadow, loaded to the end, as one renderer shows it.
class PointCloudGoldenTest : public TestCloudFixture
{
protected:
    void SetUp() override
    {
        TestCloudFixture::SetUp();
        if (IsSkipped() || HasFatalFailure())
        {
            return;
        }
        writeMeadow(mFolder.path());
        mCloud = open(mFolder.path());
        mRenderer = makeRenderer();
        mRenderer->setScene(mCloud);
        lookAtMeadow(*mRenderer);
    }

    Graphics::ColorImage loadedPicture()
    {
        load(*mCloud);
        return picture(*mRenderer);
    }

    TemporaryFolder mFolder;
    std::shared_ptr<Render::PointCloudRenderable> mCloud;
    std::unique_ptr<Render::Renderer> mRenderer;
};
}  // namespace

TEST_F(PointCloudGoldenTest, Default)
{
    EXPECT_TRUE(matchesGolden(loadedPicture(), "pointcloud-default", kRounding));
}

TEST_F(PointCloudGoldenTest, TomographicDark)
{
    mRenderer->setRenderMode(RenderMode::TomographicDark);
    mRenderer->setBackgroundColor(0, 0, 0, 0);
    mCloud->setTomographicContrast(0.1f);

    EXPECT_TRUE(matchesGolden(loadedPicture(), "pointcloud-tomographic-dark", kRounding));
}

TEST_F(PointCloudGoldenTest, TomographicBright)
{
    mRenderer->setRenderMode(RenderMode::TomographicBright);
    mRenderer->setBackgroundColor(0, 0, 0, 0);
    mCloud->setTomographicContrast(0.1f);

    EXPECT_TRUE(matchesGolden(loadedPicture(), "pointcloud-tomographic-bright", kRounding));
}

TEST_F(PointCloudGoldenTest, ColorizeByNormal)
{
    mRenderer->setRenderMode(RenderMode::ColorizeByNormal);

    EXPECT_TRUE(matchesGolden(loadedPicture(), "pointcloud-normal", kRounding));
}

TEST_F(PointCloudGoldenTest, ColorizeByPlaneDistance)
{
    mRenderer->setRenderMode(RenderMode::ColorizeByPlaneDistance);
    mRenderer->setColorizationRange({0, 0, 0}, {0, 0, 6}, Render::ColorMap::Viridis);

    EXPECT_TRUE(matchesGolden(loadedPicture(), "pointcloud-plane-distance", kRounding));
}

TEST_F(PointCloudGoldenTest, ColorizeByIntensity)
{
    mRenderer->setRenderMode(RenderMode::ColorizeByIntensity);

    EXPECT_TRUE(matchesGolden(loadedPicture(), "pointcloud-intensity", kRounding));
}

TEST_F(PointCloudGoldenTest, UniformColor)
{
    mRenderer->setRenderMode(RenderMode::UniformColor);
    mCloud->setUniformColor(Math::Color(255, 180, 0, 255));

    EXPECT_TRUE(matchesGolden(loadedPicture(), "pointcloud-uniform-color", kRounding));
}

TEST_F(PointCloudGoldenTest, NodeBoxes)
{
    mCloud->setShowBoundingBoxes(true);
    mCloud->setMaxLevelToKeep(1);

    EXPECT_TRUE(matchesGolden(loadedPicture(), "pointcloud-boxes", kRounding));
}

TEST_F(PointCloudGoldenTest, ClippedByThreePlanes)
{
    mCloud->setClippingVolume({HalfSpace(1, 0, 0, -3), HalfSpace(-1, 0, 0, 11), HalfSpace(0, 1, 1, -5)});

    EXPECT_TRUE(matchesGolden(loadedPicture(), "pointcloud-clipped", kRounding));
}

TEST_F(PointCloudGoldenTest, LargeSplatsFromStraightAbove)
{
    lookDown(*mRenderer);
    mCloud->setMaxPointSize(12.0f);

    EXPECT_TRUE(matchesGolden(loadedPicture(), "pointcloud-above", kRounding));
}

TEST_F(PointCloudGoldenTest, MovedTurnedAndScaled)
{
    Eigen::Matrix4f model;
    model << 0, -0.5f, 0, 12, 0.5f, 0, 0, 2, 0, 0, 0.5f, 1, 0, 0, 0, 1;
    mCloud->setMatrix(model);

    EXPECT_TRUE(matchesGolden(loadedPicture(), "pointcloud-moved", kRounding));
}

TEST_F(PointCloudGoldenTest, Thumbnail)
{
    Render::createThumbnail(mFolder.path(), kWidth, kHeight, Math::Color(20, 30, 60, 255), kAllLevels);

    const auto image = Graphics::ColorImage::readPng(mFolder.path() / "thumbnail.png");
    EXPECT_TRUE(matchesGolden(image, "pointcloud-thumbnail", kRounding));
}

// Pictures that must be equal.

namespace
{
class PointCloudPictureTest : public TestCloudFixture
{
protected:
    static Graphics::ColorImage meadowPicture(const std::filesystem::path& folder, bool reversedZ = true)
    {
        const auto cloud = open(folder);
        const auto renderer = makeRenderer(reversedZ);
        renderer->setScene(cloud);
        lookAtMeadow(*renderer);
        load(*cloud);
        return picture(*renderer);
    }
};
}  // namespace

TEST_F(PointCloudPictureTest, ACloudFarFromTheOriginLooksTheSame)
{
    const TemporaryFolder near;
    const TemporaryFolder far;
    writeMeadow(near.path());
    writeMeadow(far.path(), {6.0e6, 5.0e6, 1.0e3});
    ASSERT_EQ(open(far.path())->referencePosition(), (Math::Point<double, 3>(6.0e6, 5.0e6, 1.0e3)));

    const ImageDifference difference = compareImages(meadowPicture(far.path()), meadowPicture(near.path()));

    EXPECT_EQ(difference.maximum, 0u);
}

TEST_F(PointCloudPictureTest, BothDepthConventionsGiveTheSamePictureAndMirroredDepths)
{
    const TemporaryFolder folder;
    writeMeadow(folder.path());
    const auto depthImage = [&](bool reversedZ)
    {
        const auto cloud = open(folder.path());
        const auto renderer = makeRenderer(reversedZ);
        renderer->setScene(cloud);
        lookAtMeadow(*renderer);
        load(*cloud);
        renderer->render();
        Graphics::DepthImage image;
        renderer->getDepthImage(image);
        return image;
    };

    const Graphics::ColorImage reversedPicture = meadowPicture(folder.path(), true);
    const Graphics::ColorImage standardPicture = meadowPicture(folder.path(), false);
    const Graphics::DepthImage reversed = depthImage(true);
    const Graphics::DepthImage standard = depthImage(false);

    // Where two splats lie at almost the same depth either may win.
    EXPECT_LT(compareImages(reversedPicture, standardPicture).mean, 0.02);
    EXPECT_EQ(reversed.pixel(0, 0), 0.0f);
    EXPECT_EQ(standard.pixel(0, 0), 1.0f);
    std::size_t covered = 0;
    for (std::uint64_t y = 0; y < kHeight; ++y)
    {
        for (std::uint64_t x = 0; x < kWidth; ++x)
        {
            EXPECT_NEAR(reversed.pixel(x, y), 1.0f - standard.pixel(x, y), 1e-4f) << x << ", " << y;
            covered += reversed.pixel(x, y) > 0.0f ? 1U : 0U;
        }
    }
    EXPECT_GT(covered, kWidth * kHeight / 4);
}

TEST_F(PointCloudPictureTest, SeveralRenderersInOneProcessShowTheSame)
{
    const TemporaryFolder folder;
    writeMeadow(folder.path());
    const auto firstCloud = open(folder.path());
    const auto secondCloud = open(folder.path());
    const auto first = makeRenderer();
    const auto second = makeRenderer();
    first->setScene(firstCloud);
    second->setScene(secondCloud);
    lookAtMeadow(*first);
    lookAtMeadow(*second);

    load(*firstCloud);
    load(*secondCloud);
    const Graphics::ColorImage firstPicture = picture(*first);
    const Graphics::ColorImage secondPicture = picture(*second);

    EXPECT_EQ(compareImages(firstPicture, secondPicture).maximum, 0u);
    EXPECT_EQ(compareImages(firstPicture, picture(*first)).maximum, 0u);
    EXPECT_GT(countOfOthers(firstPicture, Math::Color(255, 255, 255, 255)), 2000u);
}

// Thumbnails.

TEST_F(PointCloudPictureTest, AThumbnailReplacesAnOlderFile)
{
    const TemporaryFolder folder;
    writeMeadow(folder.path());
    folder.write("thumbnail.png", "something else");

    Render::createThumbnail(folder.path(), 64, 48, Math::Color::white(255), kAllLevels);

    const auto image = Graphics::ColorImage::readPng(folder.path() / "thumbnail.png");
    EXPECT_EQ(image.width(), 64u);
    EXPECT_EQ(image.height(), 48u);
}

TEST_F(PointCloudPictureTest, AThumbnailShowsTheWholeCloudWithABorder)
{
    const TemporaryFolder folder;
    writeMeadow(folder.path());

    struct Size
    {
        std::uint64_t width;
        std::uint64_t height;
    };

    for (const Size size : {Size{96, 96}, Size{128, 96}, Size{128, 72}})
    {
        SCOPED_TRACE(size.height);
        const Math::Color background(1, 2, 3, 255);
        Render::createThumbnail(folder.path(), size.width, size.height, background, kAllLevels);
        const auto image = Graphics::ColorImage::readPng(folder.path() / "thumbnail.png");

        for (std::uint64_t x = 0; x < size.width; ++x)
        {
            ASSERT_EQ(image.pixel(x, 0), background);
            ASSERT_EQ(image.pixel(x, size.height - 1), background);
        }
        for (std::uint64_t y = 0; y < size.height; ++y)
        {
            ASSERT_EQ(image.pixel(0, y), background);
            ASSERT_EQ(image.pixel(size.width - 1, y), background);
        }
        EXPECT_GT(countOfOthers(image, background), size.width * size.height / 6);
    }
}

TEST_F(PointCloudPictureTest, AThumbnailMayHaveASinglePixel)
{
    const TemporaryFolder folder;
    writeMeadow(folder.path());

    Render::createThumbnail(folder.path(), 1, 1, Math::Color::white(255), kAllLevels);

    const auto image = Graphics::ColorImage::readPng(folder.path() / "thumbnail.png");
    EXPECT_EQ(image.width(), 1u);
    EXPECT_EQ(image.height(), 1u);
    EXPECT_NE(image.pixel(0, 0), Math::Color::white(255)) << "the cloud lies in the middle";
}

TEST_F(PointCloudPictureTest, ALevelBeyondTheDeepestIsTheDeepest)
{
    const TemporaryFolder folder;
    writeMeadow(folder.path());
    const auto thumbnail = [&](std::uint64_t level)
    {
        const std::filesystem::path path = folder.path() / ("level" + std::to_string(level) + ".png");
        Render::createThumbnail(locationOf(folder.path()), path, 64, 48, Math::Color::white(255), level);
        return Graphics::ColorImage::readPng(path);
    };

    EXPECT_EQ(compareImages(thumbnail(~std::uint64_t{0}), thumbnail(21)).maximum, 0u);
    EXPECT_GT(compareImages(thumbnail(0), thumbnail(21)).maximum, 0u);
}

TEST_F(PointCloudPictureTest, AThumbnailOfNothingIsRefusedAndAnOldOneStays)
{
    const TemporaryFolder folder;
    folder.write("thumbnail.png", "old");

    EXPECT_EQ(
        messageOf<std::invalid_argument>(
            [&] { Render::createThumbnail(folder.path(), 64, 48, Math::Color::white(255), 0); }
        ),
        "createThumbnail: locationPotree does not exist"
    );
    EXPECT_EQ(TemporaryFolder::read(folder.path() / "thumbnail.png"), "old");
}

TEST_F(PointCloudPictureTest, AThumbnailWithoutPixelsIsRefused)
{
    const TemporaryFolder folder;
    writeMeadow(folder.path());

    EXPECT_EQ(
        messageOf<std::invalid_argument>(
            [&] { Render::createThumbnail(folder.path(), 0, 48, Math::Color::white(255), 0); }
        ),
        "createThumbnail: width and height must be at least 1"
    );
}

TEST_F(PointCloudPictureTest, AnOldThumbnailThatCannotBeRemovedIsNamed)
{
    const TemporaryFolder folder;
    writeMeadow(folder.path());
    std::filesystem::create_directories(folder.path() / "thumbnail.png" / "not empty");

    const std::string message = messageOf<std::filesystem::filesystem_error>(
        [&] { Render::createThumbnail(folder.path(), 64, 48, Math::Color::white(255), 0); }
    );

    EXPECT_NE(message.find("remove"), std::string::npos) << message;
    EXPECT_NE(message.find("thumbnail.png"), std::string::npos) << message;
}

TEST_F(PointCloudPictureTest, AnEmptyFolderIsNotReplacedByAThumbnail)
{
    const TemporaryFolder folder;
    writeMeadow(folder.path());
    std::filesystem::create_directory(folder.path() / "thumbnail.png");

    const std::string message = messageOf<std::filesystem::filesystem_error>(
        [&] { Render::createThumbnail(folder.path(), 64, 48, Math::Color::white(255), 0); }
    );

    EXPECT_NE(message.find("remove"), std::string::npos) << message;
    EXPECT_TRUE(std::filesystem::is_directory(folder.path() / "thumbnail.png"));
}

TEST_F(PointCloudPictureTest, AnOutputPathThatCannotBeWrittenIsNamed)
{
    const TemporaryFolder folder;
    writeMeadow(folder.path());

    EXPECT_NE(
        messageOf<std::runtime_error>(
            [&]
            {
                Render::createThumbnail(
                    locationOf(folder.path()),
                    folder.path() / "no such folder" / "picture.png",
                    64,
                    48,
                    Math::Color::white(255),
                    0
                );
            }
        ).find("picture.png"),
        std::string::npos
    );
}
