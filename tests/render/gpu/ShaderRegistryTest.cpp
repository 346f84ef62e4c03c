#include "render/gpu/shaderRegistry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace ShaderRegistry = Render::ShaderRegistry;

namespace
{
const std::vector<std::string> kDrawingSources{
    "shaders/box.hlsl",
    "shaders/mesh.hlsl",
    "shaders/pano.hlsl",
    "shaders/pointcloud.hlsl",
    "shaders/postprocessing.hlsl",
};

std::error_code errorOfOpening(std::string_view path)
{
    try
    {
        ShaderRegistry::open(path);
    }
    catch (const std::system_error& error)
    {
        EXPECT_THAT(error.what(), testing::StartsWith(std::string(path)));
        return error.code();
    }
    return {};
}
}  // namespace

TEST(ShaderRegistry, HoldsTheSourcesInTheirOrder)
{
    std::vector<std::string_view> paths;
    for (const Render::EmbeddedFile& file : Render::embeddedShaderFiles())
    {
        paths.push_back(file.path);
    }

    EXPECT_THAT(
        paths,
        testing::ElementsAre(
            "shaders/box.hlsl",
            "shaders/colorprocessing.hlsl",
            "shaders/pointcloud.hlsl",
            "shaders/postprocessing.hlsl",
            "shaders/pano.hlsl",
            "shaders/mesh.hlsl",
            "shaders/postcolor.hlsl",
            "shaders/posttomographic.hlsl",
            "shaders/postnormal.hlsl",
            "shaders/postdistance.hlsl",
            "shaders/splats.hlsl",
            "shaders/splatpixels.hlsl",
            "shaders/splatlevels.hlsl",
            "shaders/splatdepths.hlsl",
            "shaders/splatwinners.hlsl",
            "shaders/splatpicture.hlsl",
            "shaders/splatpictures.hlsl",
            "shaders/splatquads.hlsl",
            "shaders/eyedome.hlsl",
            "shaders/straightalpha.hlsl"
        )
    );
}

TEST(ShaderRegistry, EveryDrawingSourceHasBothEntryPoints)
{
    for (const std::string& path : kDrawingSources)
    {
        const std::string_view source = ShaderRegistry::open(path);
        EXPECT_NE(source.find("vs_main("), std::string_view::npos) << path;
        EXPECT_NE(source.find("ps_main("), std::string_view::npos) << path;
    }
}

TEST(ShaderRegistry, ColorProcessingHasFunctionsOnly)
{
    EXPECT_EQ(ShaderRegistry::open("shaders/colorprocessing.hlsl").find("_main"), std::string_view::npos);
}

TEST(ShaderRegistry, PointAndPostProcessSourcesBeginWithTheirInclude)
{
    const std::string_view include = "#include \"shaders/colorprocessing.hlsl\"";

    EXPECT_TRUE(ShaderRegistry::open("shaders/pointcloud.hlsl").starts_with(include));
    EXPECT_TRUE(ShaderRegistry::open("shaders/postprocessing.hlsl").starts_with(include));
}

TEST(ShaderRegistry, SourcesHaveNeitherByteOrderMarkNorZeros)
{
    for (const Render::EmbeddedFile& file : Render::embeddedShaderFiles())
    {
        EXPECT_FALSE(file.bytes.empty()) << file.path;
        EXPECT_FALSE(file.bytes.starts_with("\xEF\xBB\xBF")) << file.path;
        EXPECT_EQ(file.bytes.find('\0'), std::string_view::npos) << file.path;
    }
}

TEST(ShaderRegistry, SlashesThatSayNothingDoNotCount)
{
    const char* const expected = ShaderRegistry::open("shaders/box.hlsl").data();

    for (const char* const path :
         {"/shaders/box.hlsl",
          "shaders//box.hlsl",
          "shaders/box.hlsl/",
          "/shaders//box.hlsl/",
          "///shaders////box.hlsl///"})
    {
        EXPECT_TRUE(ShaderRegistry::exists(path)) << path;
        EXPECT_EQ(ShaderRegistry::open(path).data(), expected) << path;
    }
}

TEST(ShaderRegistry, CaseCounts)
{
    EXPECT_FALSE(ShaderRegistry::exists("Shaders/box.hlsl"));
    EXPECT_FALSE(ShaderRegistry::exists("shaders/BOX.hlsl"));
}

TEST(ShaderRegistry, DirectoriesExistButDoNotOpen)
{
    for (const char* const path : {"shaders", "/shaders/", "", "/"})
    {
        EXPECT_TRUE(ShaderRegistry::exists(path)) << path;
        EXPECT_EQ(errorOfOpening(path), std::errc::no_such_file_or_directory) << path;
    }
}

TEST(ShaderRegistry, UnknownNamesDoNotOpen)
{
    for (const char* const path :
         {"shaders/none.hlsl", "box.hlsl", "shaders/box.hlsl/x", "shaders\\box.hlsl"})
    {
        EXPECT_FALSE(ShaderRegistry::exists(path)) << path;
        EXPECT_EQ(errorOfOpening(path), std::errc::no_such_file_or_directory) << path;
    }
}
