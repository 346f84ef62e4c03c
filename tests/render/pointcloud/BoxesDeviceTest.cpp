#include "render/gpu/ComException.h"
#include "render/pointcloud/Boxes.h"
#include "tests/render/pointcloud/PointPass.h"
#include "tests/support/CheckedContext.h"
#include "tests/support/messageOf.h"
#include "tests/support/printColor.h"

#include <Eigen/Geometry>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <type_traits>

namespace
{
using Box = Math::NBoundingBox<float, 3>;
using Render::Boxes;
using Render::BoxWithColor;

static_assert(!std::is_copy_constructible_v<Boxes> && std::is_nothrow_move_constructible_v<Boxes>);

const Math::Color kNothing;
const Math::Color kRed(200, 10, 20, 130);
const Math::Color kBlue(0, 0, 200, 255);

class BoxesDeviceTest : public PointPassFixture
{
protected:
    PassPicture picture(Boxes& boxes) const
    {
        return drawn([&boxes] { boxes.draw(context()); });
    }

    /// Clip coordinates of the centre of texel i.
    static float clip(unsigned texel)
    {
        return (static_cast<float>(texel) + 0.5f) * 2.0f / static_cast<float>(kSize) - 1.0f;
    }

    /// A box whose outline runs along texels; y counts from the top.
    static Box boxOver(unsigned left, unsigned top, unsigned right, unsigned bottom)
    {
        return Box({clip(left), -clip(bottom), 0.25f}, {clip(right), -clip(top), 0.75f});
    }
};
}  // namespace

TEST_F(BoxesDeviceTest, ABoxIsItsOutlineInItsColour)
{
    Boxes boxes(device(), boxOver(10, 5, 60, 55), kRed);

    const PassPicture result = picture(boxes);

    for (unsigned y = 0; y < kSize; ++y)
    {
        for (unsigned x = 0; x < kSize; ++x)
        {
            const bool inside = x >= 10 && x <= 60 && y >= 5 && y <= 55;
            const bool onBorder = inside && (x == 10 || x == 60 || y == 5 || y == 55);
            const bool isCorner = (x == 10 || x == 60) && (y == 5 || y == 55);
            if (!isCorner)  // whether a line draws its last texel is up to the rasterizer
            {
                ASSERT_EQ(result.color.at(x, y), onBorder ? kRed : kNothing) << x << ", " << y;
            }
        }
    }
}

TEST_F(BoxesDeviceTest, LinesNeverCountAsGeometryThatCanBePicked)
{
    Boxes boxes(device(), boxOver(10, 5, 60, 55), kRed);

    const PassPicture result = picture(boxes);

    for (std::size_t i = 0; i < result.worldPosition.texels.size(); ++i)
    {
        ASSERT_EQ(result.worldPosition.texels[i], (Float4{0, 0, 0, 0}));
        ASSERT_EQ(result.exactWorldPosition.texels[i], (Float4{0, 0, 0, 0}));
    }
}

TEST_F(BoxesDeviceTest, AllTwelveEdgesAreDrawn)
{
    // Seen at a slant: x moves right by 20, y down by 24, z right and up by 10 texels.
    Eigen::Matrix4f slanted;
    slanted << 20, 0, 10, 10.5f, 0, 24, -10, 30.5f, 0, 0, 0.5f, 0.2f, 0, 0, 0, 1;
    Eigen::Matrix4f toClip;
    const float texel = 2.0f / static_cast<float>(kSize);
    toClip << texel, 0, 0, -1, 0, -texel, 0, 1, 0, 0, 1, 0, 0, 0, 0, 1;
    Boxes boxes(device(), Box({0, 0, 0}, {1, 1, 1}), kBlue);
    boxes.setModelViewProjection(Eigen::Matrix4f(toClip * slanted));

    const PassPicture result = picture(boxes);

    for (unsigned axis = 0; axis < 3; ++axis)
    {
        for (unsigned corner = 0; corner < 4; ++corner)
        {
            Eigen::Vector4f middle(0, 0, 0, 1);
            middle[axis] = 0.5f;
            middle[(axis + 1) % 3] = static_cast<float>(corner & 1U);
            middle[(axis + 2) % 3] = static_cast<float>(corner >> 1U);
            const Eigen::Vector4f place = slanted * middle;
            EXPECT_EQ(
                result.color.at(static_cast<std::size_t>(place.x()), static_cast<std::size_t>(place.y())),
                kBlue
            ) << "the edge along axis "
              << axis << " at corner " << corner;
        }
    }
    // twice each of 20, 24 and 10 texels, and each twice; edges share corners and cross
    EXPECT_NEAR(static_cast<double>(countOf(result.color, kBlue)), 4.0 * (20 + 24 + 10), 16.0);
}

TEST_F(BoxesDeviceTest, DrawsNothingUntilItIsUpdated)
{
    Boxes boxes(device(), 10);

    EXPECT_EQ(countOf(picture(boxes).color, kNothing), kSize * kSize);
}

TEST_F(BoxesDeviceTest, AnUpdateReplacesTheBoxes)
{
    const Box left = boxOver(5, 5, 20, 20);
    const Box right = boxOver(40, 40, 60, 60);
    Boxes boxes(
        device(), std::vector<BoxWithColor>{{left.min(), left.max(), kRed}, {right.min(), right.max(), kRed}}
    );
    EXPECT_EQ(picture(boxes).color.at(10, 5), kRed);

    boxes.update(context(), {{right.min(), right.max(), kBlue}});
    const PassPicture result = picture(boxes);
    EXPECT_EQ(result.color.at(10, 5), kNothing);
    EXPECT_EQ(result.color.at(50, 40), kBlue);

    boxes.update(context(), {});
    EXPECT_EQ(countOf(picture(boxes).color, kNothing), kSize * kSize);
}

TEST_F(BoxesDeviceTest, ManyBoxesAreOneDraw)
{
    std::vector<BoxWithColor> many;
    for (unsigned i = 0; i < 15; ++i)
    {
        const Box box = boxOver(4 * i + 1, 4 * i + 1, 4 * i + 3, 4 * i + 3);
        many.push_back({box.min(), box.max(), kBlue});
    }
    Boxes boxes(device(), many);
    CheckedContext watched(context());

    const PassPicture result = drawn([&] { boxes.draw(&watched); });

    EXPECT_THAT(watched.calls(), testing::Contains("DrawInstanced 24 15 0 0").Times(1));
    for (unsigned i = 0; i < 15; ++i)
    {
        EXPECT_EQ(result.color.at(4 * i + 2, 4 * i + 1), kBlue) << i;
        EXPECT_EQ(result.color.at(4 * i + 2, 4 * i + 2), kNothing) << i;
    }
}

TEST_F(BoxesDeviceTest, ABoxWithoutExtentDrawsNothing)
{
    Boxes boxes(device(), boxOver(20, 20, 20, 20), kRed);

    EXPECT_LE(countOf(picture(boxes).color, kRed), 1u);  // a line of length 0 draws at most its own texel
}

TEST_F(BoxesDeviceTest, NoBoxesAtAllAreNoError)
{
    Boxes boxes(device(), std::vector<BoxWithColor>{});

    EXPECT_EQ(countOf(picture(boxes).color, kNothing), kSize * kSize);
}

TEST_F(BoxesDeviceTest, UploadsTheMatrixOnlyWhenItHasChanged)
{
    Boxes boxes(device(), boxOver(10, 10, 20, 20), kRed);
    CheckedContext watched(context());
    const auto mapsOfADraw = [&]
    {
        watched.forgetCalls();
        drawn([&] { boxes.draw(&watched); });
        return std::count_if(
            watched.calls().begin(),
            watched.calls().end(),
            [](const std::string& call) { return call.starts_with("Map"); }
        );
    };

    EXPECT_EQ(mapsOfADraw(), 1);
    EXPECT_EQ(mapsOfADraw(), 0);
    boxes.setModelViewProjection(Eigen::Matrix4f(Eigen::Matrix4f::Identity()));
    EXPECT_EQ(mapsOfADraw(), 1);
}

TEST_F(BoxesDeviceTest, LeavesNoShaderLayoutOrConstantsBound)
{
    Boxes boxes(device(), boxOver(10, 10, 20, 20), kRed);
    setViewport(64, 64);

    boxes.draw(context());

    for (const std::string& bound : boundObjects(context()))
    {
        EXPECT_THAT(bound, testing::HasSubstr("vertex buffer"));
    }
    D3D11_PRIMITIVE_TOPOLOGY topology{};
    context()->IAGetPrimitiveTopology(&topology);
    EXPECT_EQ(topology, D3D11_PRIMITIVE_TOPOLOGY_UNDEFINED);
}

TEST_F(BoxesDeviceTest, MoreBoxesThanThereIsRoomForAreRefused)
{
    Boxes boxes(device(), boxOver(10, 10, 20, 20), kRed);
    const BoxWithColor box{{0, 0, 0}, {1, 1, 1}, kBlue};

    EXPECT_EQ(
        messageOf<std::invalid_argument>(
            [&] {
                boxes.update(context(), {box, box});
            }
        ),
        "Error: a vertex buffer of 28 bytes cannot take 56"
    );
    EXPECT_NO_THROW(boxes.update(context(), {box}));
}

TEST_F(BoxesDeviceTest, AfterAFailedUploadTheNextDrawIsRight)
{
    Boxes boxes(device(), boxOver(10, 10, 20, 20), kRed);
    setViewport(64, 64);
    faults().failAt(1, CallFaults::Kind::OutOfMemory);

    EXPECT_THROW(boxes.draw(context()), Render::ComException);
    EXPECT_NO_THROW(boxes.draw(context()));
}

TEST_F(BoxesDeviceTest, AMovedObjectDrawsTheSame)
{
    Boxes original(device(), boxOver(10, 10, 20, 20), kRed);
    const PassPicture before = picture(original);

    Boxes moved(std::move(original));

    EXPECT_EQ(picture(moved).color.texels, before.color.texels);
}
