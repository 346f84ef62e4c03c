#include "math/Spectrum.h"
#include "render/gpu/RenderPass.h"
#include "render/renderer/PostProcess.h"
#include "render/scene/Viewport.h"
#include "tests/render/gpu/resultOf.h"
#include "tests/support/CheckedContext.h"
#include "tests/support/DeviceFixture.h"
#include "tests/support/ForwardingContext.h"
#include "tests/support/messageOf.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Render
{
namespace
{
using Math::Color;
using Point = Math::Point<float, 3>;

constexpr unsigned int kSize = 4;  // pixels of a side
constexpr int kByteRounding = 1;

/// What the scene pass left behind in one pixel.
struct Pixel
{
    Color color{102, 153, 204, 77};
    Float4 worldPosition{};
    Float4 exactWorldPosition{};
};

Float4 hit(float x, float y, float z)
{
    return {x, y, z, 1.0F};
}

void expectColor(const Color& actual, const Color& expected)
{
    const auto isNear = [](unsigned char a, unsigned char b)
    { return std::abs(int{a} - int{b}) <= kByteRounding; };
    EXPECT_TRUE(
        isNear(actual.r(), expected.r()) && isNear(actual.g(), expected.g()) &&
        isNear(actual.b(), expected.b()) && isNear(actual.a(), expected.a())
    ) << "actual   "
      << int{actual.r()} << ' ' << int{actual.g()} << ' ' << int{actual.b()} << ' ' << int{actual.a()}
      << "\nexpected " << int{expected.r()} << ' ' << int{expected.g()} << ' ' << int{expected.b()} << ' '
      << int{expected.a()};
}

unsigned char byteOf(double value)
{
    return static_cast<unsigned char>(std::lround(255.0 * std::clamp(value, 0.0, 1.0)));
}

Color colorOf(double r, double g, double b, double a = 1.0)
{
    return {byteOf(r), byteOf(g), byteOf(b), byteOf(a)};
}
}  // namespace

/// A scene pass whose pixels a test writes itself, and an output pass.
class PostProcessDevice : public DeviceFixture
{
protected:
    void SetUp() override
    {
        DeviceFixture::SetUp();
        if (IsSkipped() || HasFatalFailure())
        {
            return;
        }
        mPostProcess = PostProcess(device());
        makePasses(kSize, kSize);
    }

    void TearDown() override
    {
        mOutput.reset();
        mScene.reset();
        mPostProcess = PostProcess();
        DeviceFixture::TearDown();
    }

    void makePasses(unsigned int width, unsigned int height)
    {
        mWidth = width;
        mHeight = height;
        mScene = std::make_unique<RenderPass>(device(), width, height);
        mScene->addRenderTarget("color", DXGI_FORMAT_B8G8R8A8_UNORM);
        mScene->addRenderTarget("worldPosition", DXGI_FORMAT_R32G32B32A32_FLOAT);
        mScene->addRenderTarget("exactWorldPosition", DXGI_FORMAT_R32G32B32A32_FLOAT);
        mOutput = std::make_unique<RenderPass>(device(), width, height);
        mOutput->addRenderTarget("color", DXGI_FORMAT_B8G8R8A8_UNORM);
        mOutput->addRenderTarget("worldPosition", DXGI_FORMAT_R32G32B32A32_FLOAT);
        mPixels.assign(std::size_t{width} * height, Pixel{});
        mPostProcess.setViewport(Viewport(width, height));
    }

    Pixel& pixel(std::size_t x, std::size_t y) { return mPixels.at(y * mWidth + x); }

    void draw() { draw(context()); }

    void draw(ID3D11DeviceContext* throughContext)
    {
        fill<Color>("color", [](const Pixel& p) { return p.color; });
        fill<Float4>("worldPosition", [](const Pixel& p) { return p.worldPosition; });
        fill<Float4>("exactWorldPosition", [](const Pixel& p) { return p.exactWorldPosition; });

        setViewport(mWidth, mHeight);
        mOutput->begin(throughContext);
        mScene->bindTexture(throughContext, "color", ShaderConfiguration::Pixel, 0);
        mScene->bindTexture(throughContext, "worldPosition", ShaderConfiguration::Pixel, 1);
        mScene->bindTexture(throughContext, "exactWorldPosition", ShaderConfiguration::Pixel, 2);
        mPostProcess.draw(throughContext);
        mScene->unbindTexture(throughContext, "color");
        mScene->unbindTexture(throughContext, "worldPosition");
        mScene->unbindTexture(throughContext, "exactWorldPosition");
        mOutput->end(throughContext);
    }

    TexelGrid<Color> picture() { return readBack<Color>(mOutput->texture("color")); }

    TexelGrid<Float4> positions() { return readBack<Float4>(mOutput->texture("worldPosition")); }

    /// The colour of a point of the given colour, alone in the picture.
    Color drawnPoint(const Color& color, const Float4& position = {0.0F, 0.0F, 0.0F, 1.0F})
    {
        pixel(1, 1) = {color, position, position};
        draw();
        return picture().at(1, 1);
    }

    /// The same in the mode that colours by distance, at the place x of a line of length 1.
    Color drawnAtDistance(int colorMap, float x)
    {
        mPostProcess.setRenderMode(RenderMode::ColorizeByPlaneDistance);
        mPostProcess.setColorMap(static_cast<ColorMap>(colorMap));
        mPostProcess.setColorizationRange({0.0F, 0.0F, 0.0F}, {0.0F, 0.0F, 1.0F});
        return drawnPoint(Color(1, 2, 3, 4), hit(5.0F, -6.0F, x));
    }

    PostProcess mPostProcess;
    std::unique_ptr<RenderPass> mScene;
    std::unique_ptr<RenderPass> mOutput;

private:
    template <class Texel, class Get>
    void fill(const std::string& name, const Get& get)
    {
        std::vector<Texel> texels;
        for (const Pixel& p : mPixels)
        {
            texels.push_back(get(p));
        }
        context()->UpdateSubresource(
            mScene->texture(name).get(),
            0,
            nullptr,
            texels.data(),
            static_cast<UINT>(mWidth * sizeof(Texel)),
            0
        );
    }

    unsigned int mWidth = 0;
    unsigned int mHeight = 0;
    std::vector<Pixel> mPixels;
};

TEST(PostProcess, StartsWithNeutralSettings)
{
    const PostProcess postProcess;

    EXPECT_EQ(postProcess.brightness(), 0.0F);
    EXPECT_EQ(postProcess.contrast(), 1.0F);
    EXPECT_EQ(postProcess.opacity(), 1.0F);
    EXPECT_EQ(postProcess.renderMode(), RenderMode::Default);
    EXPECT_EQ(postProcess.colormap(), ColorMap::Turbo);
    EXPECT_TRUE(postProcess.isDirty());
}

TEST(PostProcess, LaysItsConstantsOutAsTheyAreUploaded)
{
    PostProcess postProcess;
    postProcess.setViewport(Viewport(800, 600));
    postProcess.setBrightness(0.25F);
    postProcess.setContrast(2.0F);
    postProcess.setOpacity(0.5F);
    postProcess.setBackgroundColor(Color(255, 51, 0, 102));
    postProcess.setColorizationRange({1.0F, 2.0F, 3.0F}, {4.0F, 5.0F, 6.0F});
    postProcess.setRenderMode(RenderMode::ColorizeByPlaneDistance);
    postProcess.setColorMap(ColorMap::Bone);

    const PostProcessConstants& constants = postProcess.constants();
    const auto* const bytes = reinterpret_cast<const char*>(&constants);
    const auto floatAt = [bytes](std::size_t offset)
    {
        float value = 0.0F;
        std::memcpy(&value, bytes + offset, sizeof(value));
        return value;
    };
    const auto intAt = [bytes](std::size_t offset)
    {
        int value = 0;
        std::memcpy(&value, bytes + offset, sizeof(value));
        return value;
    };

    ASSERT_EQ(sizeof(constants), 96U);
    std::vector<float> head;
    for (std::size_t offset = 0; offset < 36; offset += 4)
    {
        head.push_back(floatAt(offset));
    }
    EXPECT_EQ(head, (std::vector<float>{800.0F, 600.0F, 0.25F, 2.0F, 0.5F, 1.0F, 0.2F, 0.0F, 0.4F}));
    std::vector<float> range;
    for (std::size_t offset = 48; offset < 80; offset += 4)
    {
        range.push_back(floatAt(offset));
    }
    EXPECT_EQ(range, (std::vector<float>{1.0F, 2.0F, 3.0F, 1.0F, 4.0F, 5.0F, 6.0F, 1.0F}));
    EXPECT_EQ(intAt(80), 4);
    EXPECT_EQ(intAt(84), 6);
}

TEST(PostProcess, StartsWithTheConstantsOfAWhitePictureOf640By480)
{
    const PostProcess postProcess;
    const PostProcessConstants& constants = postProcess.constants();

    EXPECT_EQ(constants.width, 640.0F);
    EXPECT_EQ(constants.height, 480.0F);
    EXPECT_EQ(constants.bg_color, (std::array<float, 4>{1.0F, 1.0F, 1.0F, 1.0F}));
    EXPECT_EQ(constants.colorization_start, (std::array<float, 4>{}));
    EXPECT_EQ(constants.colorization_end, (std::array<float, 4>{}));
}

namespace
{
/// A context whose buffers cannot be mapped.
class UnmappableContext : public ForwardingContext
{
public:
    using ForwardingContext::ForwardingContext;

    HRESULT STDMETHODCALLTYPE Map(ID3D11Resource*, UINT, D3D11_MAP, UINT, D3D11_MAPPED_SUBRESOURCE*) override
    {
        return E_OUTOFMEMORY;
    }
};
}  // namespace

TEST_F(PostProcessDevice, AFailedUploadLeavesItsConstantsBoundUntilItRecovers)
{
    UnmappableContext unmappable(context());

    EXPECT_EQ(resultOf([&] { mPostProcess.draw(&unmappable); }), E_OUTOFMEMORY);

    EXPECT_TRUE(mPostProcess.isDirty());
    EXPECT_EQ(
        messageOf<std::logic_error>([&] { mPostProcess.draw(context()); }), "Error: end call is missing"
    );
    context()->ClearState();

    mPostProcess.recover();
    EXPECT_EQ(drawnPoint(Color(1, 2, 3, 255)), Color(1, 2, 3, 255));
    EXPECT_FALSE(mPostProcess.isDirty());
}

TEST_F(PostProcessDevice, EverySetterMarksTheConstantsForUpload)
{
    const std::vector<std::function<void(PostProcess&)>> setters{
        [](PostProcess& p) { p.setViewport(Viewport(kSize, kSize)); },
        [](PostProcess& p) { p.setBrightness(0.0F); },
        [](PostProcess& p) { p.setContrast(1.0F); },
        [](PostProcess& p) { p.setOpacity(1.0F); },
        [](PostProcess& p) { p.setBackgroundColor(Color()); },
        [](PostProcess& p) { p.setRenderMode(RenderMode::Default); },
        [](PostProcess& p) { p.setColorMap(ColorMap::Turbo); },
        [](PostProcess& p) { p.setColorizationRange({}, {}); },
    };
    for (const auto& setter : setters)
    {
        draw();
        EXPECT_FALSE(mPostProcess.isDirty());

        setter(mPostProcess);

        EXPECT_TRUE(mPostProcess.isDirty());
    }
}

TEST_F(PostProcessDevice, SettingsAreUploadedOnceForAllChanges)
{
    CheckedContext checked(context());
    mPostProcess.setBrightness(0.1F);
    mPostProcess.setBrightness(0.2F);
    mPostProcess.setContrast(3.0F);

    draw(&checked);
    draw(&checked);

    EXPECT_EQ(
        std::count_if(
            checked.calls().begin(),
            checked.calls().end(),
            [](const std::string& call) { return call.starts_with("Map"); }
        ),
        1
    );
}

TEST_F(PostProcessDevice, LeavesNothingOfItsOwnBound)
{
    draw();

    EXPECT_EQ(boundObjects(context()), std::vector<std::string>{});
}

TEST_F(PostProcessDevice, DrawsAStripOfFourCornersWithItsConstantsInThePixelStage)
{
    CheckedContext checked(context());

    draw(&checked);

    const std::vector<std::string>& calls = checked.calls();
    const auto indexOf = [&](const std::string& start)
    {
        return std::find_if(
                   calls.begin(),
                   calls.end(),
                   [&](const std::string& call) { return call.starts_with(start); }
               ) -
               calls.begin();
    };
    EXPECT_LT(indexOf("VSSetShader "), indexOf("PSSetShader "));
    EXPECT_LT(indexOf("PSSetShader "), indexOf("Map"));
    EXPECT_LT(indexOf("Map"), indexOf("PSSetConstantBuffers 0"));
    EXPECT_LT(indexOf("PSSetConstantBuffers 0"), indexOf("IASetPrimitiveTopology 5"));
    EXPECT_LT(indexOf("IASetPrimitiveTopology 5"), indexOf("DrawInstanced 4 1 0 0"));
    EXPECT_LT(indexOf("DrawInstanced 4 1 0 0"), indexOf("IASetInputLayout null"));
    EXPECT_EQ(indexOf("VSSetConstantBuffers"), std::ssize(calls));
}

TEST_F(PostProcessDevice, CopiesTheWorldPositionUnchanged)
{
    const Float4 position{1.5F, -0.0F, 1e30F, 0.25F};
    pixel(2, 1).worldPosition = position;

    draw();

    EXPECT_EQ(positions().at(2, 1), position);
    EXPECT_TRUE(std::signbit(positions().at(2, 1)[1]));
    EXPECT_EQ(positions().at(1, 2), Float4{});
}

TEST_F(PostProcessDevice, EmptyPixelsKeepTheirColorWithFullAlpha)
{
    mPostProcess.setBrightness(0.5F);
    mPostProcess.setContrast(4.0F);
    for (const RenderMode mode : {
             RenderMode::Default,
             RenderMode::TomographicBright,
             RenderMode::ColorizeByNormal,
             RenderMode::ColorizeByPlaneDistance,
             RenderMode::ColorizeByIntensity,
             RenderMode::UniformColor,
             static_cast<RenderMode>(7),
         })
    {
        mPostProcess.setRenderMode(mode);
        draw();
        expectColor(picture().at(0, 0), Color(102, 153, 204, 255));
    }
}

TEST_F(PostProcessDevice, EmptyPixelsAreInvertedInTheDarkTomographicMode)
{
    mPostProcess.setRenderMode(RenderMode::TomographicDark);

    draw();

    expectColor(picture().at(0, 0), Color(153, 102, 51, 255));
}

TEST_F(PostProcessDevice, OnlyAFourthComponentOfZeroMakesAPixelEmpty)
{
    mPostProcess.setBrightness(1.0F);  // points become white
    pixel(0, 0).worldPosition = {0.0F, 0.0F, 0.0F, -1.0F};
    pixel(1, 0).worldPosition = {5.0F, 5.0F, 5.0F, 0.0F};

    draw();

    expectColor(picture().at(0, 0), Color(255, 255, 255, 255));
    expectColor(picture().at(1, 0), Color(102, 153, 204, 255));
}

TEST_F(PostProcessDevice, OpacityScalesTheAlphaOfPointsAndEmptyPixels)
{
    mPostProcess.setOpacity(0.4F);
    pixel(1, 1).worldPosition = hit(0.0F, 0.0F, 0.0F);

    draw();

    expectColor(picture().at(1, 1), Color(102, 153, 204, 102));
    expectColor(picture().at(0, 0), Color(102, 153, 204, 102));
}

TEST_F(PostProcessDevice, NeutralSettingsLeaveColorsAsTheyAre)
{
    expectColor(drawnPoint(Color(0, 128, 255, 10)), Color(0, 128, 255, 255));
}

TEST_F(PostProcessDevice, BrightnessIsAddedAndContrastStretchesAboutTheMiddle)
{
    mPostProcess.setBrightness(0.1F);
    mPostProcess.setContrast(2.0F);

    // 2 (0.4 + 0.1 - 0.5) + 0.5 = 0.5;  2 (0.6 - 0.4) + 0.5 = 0.9;  2 (0.1 - 0.4) + 0.5 < 0
    expectColor(drawnPoint(Color(102, 153, 26, 255)), colorOf(0.5, 0.9, 0.0));
}

TEST_F(PostProcessDevice, TomographicDarkInvertsAndTakesAlphaFromRed)
{
    mPostProcess.setRenderMode(RenderMode::TomographicDark);
    mPostProcess.setOpacity(0.5F);

    expectColor(drawnPoint(Color(51, 51, 51, 255)), colorOf(0.8, 0.8, 0.8, 0.1));
}

TEST_F(PostProcessDevice, TomographicBrightTakesAlphaFromRed)
{
    mPostProcess.setRenderMode(RenderMode::TomographicBright);

    expectColor(drawnPoint(Color(51, 102, 153, 255)), colorOf(0.2, 0.4, 0.6, 0.2));
}

TEST_F(PostProcessDevice, IntensityAndUniformColorPassThrough)
{
    mPostProcess.setBrightness(0.5F);
    mPostProcess.setRenderMode(RenderMode::ColorizeByIntensity);
    expectColor(drawnPoint(Color(51, 102, 153, 0)), Color(51, 102, 153, 255));

    mPostProcess.setRenderMode(RenderMode::UniformColor);
    expectColor(drawnPoint(Color(51, 102, 153, 0)), Color(51, 102, 153, 255));
}

TEST_F(PostProcessDevice, AnUnknownModeMakesPointsTransparentBlack)
{
    mPostProcess.setRenderMode(static_cast<RenderMode>(7));
    EXPECT_EQ(drawnPoint(Color(51, 102, 153, 255)), Color(0, 0, 0, 0));

    mPostProcess.setRenderMode(static_cast<RenderMode>(-1));
    EXPECT_EQ(drawnPoint(Color(51, 102, 153, 255)), Color(0, 0, 0, 0));
}

TEST_F(PostProcessDevice, NormalsComeFromTheLeftAndUpperNeighbours)
{
    mPostProcess.setRenderMode(RenderMode::ColorizeByNormal);
    pixel(1, 1).worldPosition = hit(1.0F, 1.0F, 0.0F);
    pixel(0, 1).worldPosition = hit(0.0F, 1.0F, 0.0F);
    pixel(1, 0).worldPosition = hit(1.0F, 2.0F, 1.0F);
    pixel(2, 1).worldPosition = hit(99.0F, 0.0F, 0.0F);  // neither of them counts
    pixel(1, 2).worldPosition = hit(0.0F, 99.0F, 0.0F);

    draw();

    // (1, 0, 0) x (0, -1, -1) = (0, 1, -1), of unit length (0, 0.7071, -0.7071)
    expectColor(picture().at(1, 1), colorOf(0.5, 0.85355, 0.14645));
}

TEST_F(PostProcessDevice, NormalsAtTheBorderTakeWhatLiesOutsideAsTheOrigin)
{
    mPostProcess.setRenderMode(RenderMode::ColorizeByNormal);
    pixel(0, 1).worldPosition = hit(1.0F, 0.0F, 0.0F);
    pixel(0, 0).worldPosition = hit(1.0F, -1.0F, 0.0F);

    draw();

    // t = (1, 0, 0) - 0, b = (0, 1, 0): the normal is (0, 0, 1)
    expectColor(picture().at(0, 1), colorOf(0.5, 0.5, 1.0));
}

TEST_F(PostProcessDevice, PlaneDistanceProjectsTheExactPositionOntoTheLine)
{
    mPostProcess.setRenderMode(RenderMode::ColorizeByPlaneDistance);
    mPostProcess.setColorMap(ColorMap::Gray);
    mPostProcess.setColorizationRange({10.0F, 0.0F, 0.0F}, {10.0F, 4.0F, 0.0F});
    pixel(1, 1).worldPosition = hit(10.0F, 4.0F, 0.0F);
    pixel(1, 1).exactWorldPosition =
        hit(77.0F, 1.0F, -5.0F);  // a quarter of the way, wherever beside the line

    draw();

    expectColor(picture().at(1, 1), colorOf(0.25, 0.25, 0.25));
}

TEST_F(PostProcessDevice, PlaneDistanceAlongAPointGivesNoFiniteNumber)
{
    mPostProcess.setRenderMode(RenderMode::ColorizeByPlaneDistance);
    mPostProcess.setColorMap(ColorMap::Gray);
    mPostProcess.setColorizationRange({1.0F, 2.0F, 3.0F}, {1.0F, 2.0F, 3.0F});

    // 0 / 0: what is not a number is stored as the byte 0.
    EXPECT_EQ(drawnPoint(Color(255, 255, 255, 255), hit(9.0F, 9.0F, 9.0F)), Color(0, 0, 0, 255));
}

TEST_F(PostProcessDevice, GrayIsNotClampedBeforeTheTargetIs)
{
    EXPECT_EQ(drawnAtDistance(5, -1.0F), Color(0, 0, 0, 255));
    EXPECT_EQ(drawnAtDistance(5, 2.0F), Color(255, 255, 255, 255));
}

TEST_F(PostProcessDevice, UnknownColorMapsAreTurbo)
{
    for (const float x : {0.0F, 0.3F, 0.8F})
    {
        const Color turbo = drawnAtDistance(0, x);
        EXPECT_EQ(drawnAtDistance(9, x), turbo);
        EXPECT_EQ(drawnAtDistance(-1, x), turbo);
    }
}

TEST_F(PostProcessDevice, ColorMapsClampTheirArgument)
{
    for (const int map : {0, 1, 2, 3, 4, 6, 7, 8})
    {
        SCOPED_TRACE(map);
        EXPECT_EQ(drawnAtDistance(map, -3.0F), drawnAtDistance(map, 0.0F));
        EXPECT_EQ(drawnAtDistance(map, 4.0F), drawnAtDistance(map, 1.0F));
    }
}

namespace
{
struct MapOfColors
{
    std::string name;
    ColorMap map;
    Color (*spectrum)(float);
};

class ColorMaps : public PostProcessDevice, public testing::WithParamInterface<MapOfColors>
{
};
}  // namespace

TEST_P(ColorMaps, EqualTheSpectrumOfTheSameName)
{
    // Away from the steps of those that have steps.
    for (const float x : {0.0F, 0.1F, 0.25F, 0.3F, 0.45F, 0.5F, 0.55F, 0.7F, 0.75F, 0.9F, 1.0F})
    {
        SCOPED_TRACE(x);
        expectColor(drawnAtDistance(static_cast<int>(GetParam().map), x), GetParam().spectrum(x));
    }
}

INSTANTIATE_TEST_SUITE_P(
    PostProcess,
    ColorMaps,
    testing::Values(
        MapOfColors{"Turbo", ColorMap::Turbo, &Math::Spectrum::Turbo::color},
        MapOfColors{"Inferno", ColorMap::Inferno, &Math::Spectrum::Inferno::color},
        MapOfColors{"Magma", ColorMap::Magma, &Math::Spectrum::Magma::color},
        MapOfColors{"Viridis", ColorMap::Viridis, &Math::Spectrum::Viridis::color},
        MapOfColors{"Plasma", ColorMap::Plasma, &Math::Spectrum::Plasma::color},
        MapOfColors{"Gray", ColorMap::Gray, &Math::Spectrum::Gray::color},
        MapOfColors{"Bone", ColorMap::Bone, &Math::Spectrum::Bone::color},
        MapOfColors{"BlueWhiteRed", ColorMap::BlueWhiteRed, &Math::Spectrum::BlueWhiteRed::color},
        MapOfColors{"LevelOfAccuracy", ColorMap::LevelOfAccuracy, &Math::Spectrum::LevelOfAccuracy::color}
    ),
    [](const testing::TestParamInfo<MapOfColors>& map) { return map.param.name; }
);

namespace
{
struct KnownColor
{
    int map;
    float x;
    Color color;
};
}  // namespace

/// Colours worked out by hand from the definitions of the maps, or of the published maps that the fits
/// approximate.
TEST_F(PostProcessDevice, ColorMapsHaveTheirKnownColors)
{
    const std::vector<KnownColor> known{
        {0, 0.0F, colorOf(0.13572, 0.09140, 0.10667)},  // the constant terms
        {0, 1.0F, colorOf(0.56359, 0.05123, 0.0)},      // all terms added; 0.56359 = 0.13572 + 4.61539 - ...
        {1, 0.0F, colorOf(0.0002, 0.0017, 0.0)},
        {3, 0.0F, colorOf(0.27773, 0.00541, 0.33410)},
        {4, 0.0F, colorOf(0.05873, 0.02334, 0.54334)},
        {5, 0.4F, colorOf(0.4, 0.4, 0.4)},
        {6, 0.25F, colorOf(0.21875, 0.21875, 0.30208)},  // 7/8 x, 7/8 x, 29/24 x
        {6, 0.5F, colorOf(0.4375, 0.47917, 0.5625)},     // 7/8 x, 29/24 x - 1/8, 7/8 x + 1/8
        {6, 0.8F, colorOf(0.725, 0.825, 0.825)},         // 11/8 x - 3/8, 7/8 x + 1/8 twice
        {7, 0.0F, Color(255, 0, 0, 255)},
        {7, 0.25F, colorOf(1.0, 0.5, 0.5)},
        {7, 0.5F, Color(255, 255, 255, 255)},
        {7, 0.75F, colorOf(0.5, 0.5, 1.0)},
        {7, 1.0F, Color(0, 0, 255, 255)},
        {8, 0.1F, colorOf(0.0, 0.5, 0.0)},
        {8, 0.3F, Color(0, 255, 0, 255)},
        {8, 0.5F, Color(255, 255, 0, 255)},
        {8, 0.7F, colorOf(1.0, 0.5, 0.0)},
        {8, 0.9F, Color(255, 0, 0, 255)},
    };
    for (const KnownColor& k : known)
    {
        SCOPED_TRACE("map " + std::to_string(k.map) + " at " + std::to_string(k.x));
        expectColor(drawnAtDistance(k.map, k.x), k.color);
    }
}

namespace
{
struct Size
{
    unsigned int width;
    unsigned int height;
};

class PictureSizes : public PostProcessDevice, public testing::WithParamInterface<Size>
{
};
}  // namespace

TEST_P(PictureSizes, EveryPixelComesFromItsOwnTexel)
{
    const auto [width, height] = GetParam();
    makePasses(width, height);
    for (unsigned int y = 0; y < height; ++y)
    {
        for (unsigned int x = 0; x < width; ++x)
        {
            pixel(x, y).worldPosition = hit(static_cast<float>(x), static_cast<float>(y), 0.0F);
        }
    }

    draw();

    const TexelGrid<Float4> grid = positions();
    ASSERT_EQ(grid.width, width);
    ASSERT_EQ(grid.height, height);
    std::size_t wrong = 0;
    for (std::size_t y = 0; y < height; ++y)
    {
        for (std::size_t x = 0; x < width; ++x)
        {
            const Float4& texel = grid.texels[y * width + x];
            wrong += texel[0] != static_cast<float>(x) || texel[1] != static_cast<float>(y) ? 1U : 0U;
        }
    }
    EXPECT_EQ(wrong, 0U);
}

INSTANTIATE_TEST_SUITE_P(
    PostProcess,
    PictureSizes,
    testing::Values(
        Size{1, 1},
        Size{2, 1},
        Size{1, 7},
        Size{3, 5},
        Size{641, 479},
        Size{1920, 1080},
        Size{4096, 3},
        Size{3, 4096},
        Size{16384, 2}
    ),
    [](const testing::TestParamInfo<Size>& size)
    { return "Of" + std::to_string(size.param.width) + "By" + std::to_string(size.param.height); }
);
}  // namespace Render
