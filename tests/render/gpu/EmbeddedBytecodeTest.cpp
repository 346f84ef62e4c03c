// The embedded bytecode is what the compiler makes of the embedded sources: neither can change alone.
#include "render/gpu/ShaderInclude.h"
#include "render/gpu/shaderRegistry.h"
#include "render/platform/ShaderProfile.h"
#include "render/platform/compileHlsl.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>

namespace
{
/// A source without its ending and the stage.
class EmbeddedBytecode : public testing::TestWithParam<std::tuple<const char*, Render::ShaderProfile>>
{
public:
    static std::string stage() { return std::string(std::get<1>(GetParam()).target, 2); }

    static std::string source() { return std::string("shaders/") + std::get<0>(GetParam()) + ".hlsl"; }

    static std::string compiled()
    {
        Render::ShaderInclude include;
        return Render::compileHlsl(
            Render::ShaderRegistry::open(source()), source(), &include, std::get<1>(GetParam())
        );
    }
};

/// tools/update-shaders sets it: the files are written instead of compared.
bool isUpdating()
{
    const char* const value = std::getenv("TARNEL_UPDATE_SHADERS");
    return value != nullptr && std::string(value) == "1";
}
}  // namespace

TEST_P(EmbeddedBytecode, IsWhatTheCompilerMakesOfTheSource)
{
    const std::string expected = compiled();
    if (isUpdating())
    {
        const std::filesystem::path path = std::filesystem::path(TARNEL_SOURCE_FOLDER) / "shaders" /
                                           (std::string(std::get<0>(GetParam())) + "." + stage() + ".cso");
        std::ofstream(path, std::ios::binary) << expected;
    }
    else
    {
        EXPECT_TRUE(Render::ShaderRegistry::bytecode(source(), std::get<1>(GetParam())) == expected)
            << "run tools/update-shaders and commit the result";
    }
}

INSTANTIATE_TEST_SUITE_P(
    PixelShaders,
    EmbeddedBytecode,
    testing::Combine(
        testing::Values("postcolor", "posttomographic", "postnormal", "postdistance", "splatpictures"),
        testing::Values(Render::kPixelProfile)
    ),
    [](const auto& parameters) { return std::string(std::get<0>(parameters.param)); }
);

INSTANTIATE_TEST_SUITE_P(
    VertexShaders,
    EmbeddedBytecode,
    testing::Combine(testing::Values("splatquads"), testing::Values(Render::kVertexProfile)),
    [](const auto& parameters) { return std::string(std::get<0>(parameters.param)); }
);

INSTANTIATE_TEST_SUITE_P(
    ComputeShaders,
    EmbeddedBytecode,
    testing::Combine(
        testing::Values("splatlevels", "splatdepths", "splatwinners"),
        testing::Values(Render::kComputeProfile)
    ),
    [](const auto& parameters) { return std::string(std::get<0>(parameters.param)); }
);

INSTANTIATE_TEST_SUITE_P(
    Shaders,
    EmbeddedBytecode,
    testing::Combine(
        testing::Values(
            "box", "mesh", "pano", "pointcloud", "postprocessing", "splatpicture", "eyedome", "straightalpha"
        ),
        testing::Values(Render::kVertexProfile, Render::kPixelProfile)
    ),
    [](const auto& parameters)
    {
        return std::string(std::get<0>(parameters.param)) + "_" +
               std::string(std::get<1>(parameters.param).target, 2);
    }
);
