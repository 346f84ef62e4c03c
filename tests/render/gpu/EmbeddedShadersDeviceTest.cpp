#include "render/gpu/PixelShader.h"
#include "render/gpu/ShaderInclude.h"
#include "render/gpu/VertexShader.h"
#include "render/gpu/inputLayouts.h"
#include "render/gpu/shaderRegistry.h"
#include "render/platform/compileHlsl.h"
#include "tests/support/DeviceFixture.h"

#include <gtest/gtest.h>

#include <string>

using Render::PixelShader;
using Render::VertexShader;

namespace
{
/// The embedded shaders that a device must load, as bytecode and compiled here, each with the layout that its
/// class uses. The point and post-process shaders call functions through a switch, which needs a full driver.
class EmbeddedShadersDevice : public DeviceFixture
{
public:
    static std::string compiled(const std::string& name, const Render::ShaderProfile& profile)
    {
        Render::ShaderInclude include;
        return Render::compileHlsl(Render::ShaderRegistry::open(name), name, &include, profile);
    }

    void expectLoads(const std::string& name, const VertexShader::Layout& layout)
    {
        EXPECT_NO_THROW(VertexShader::fromHlslResource(device(), name, layout));
        EXPECT_NO_THROW(PixelShader::fromHlslResource(device(), name));
        EXPECT_NO_THROW(VertexShader::fromCsoString(device(), compiled(name, Render::kVertexProfile), layout)
        );
        EXPECT_NO_THROW(PixelShader::fromCsoString(device(), compiled(name, Render::kPixelProfile)));
    }
};
}  // namespace

TEST_F(EmbeddedShadersDevice, TheBoxShaderLoads)
{
    const auto element = [](const char* semantic, DXGI_FORMAT format)
    {
        return D3D11_INPUT_ELEMENT_DESC{
            semantic, 0, format, 0, D3D11_APPEND_ALIGNED_ELEMENT, D3D11_INPUT_PER_INSTANCE_DATA, 1};
    };
    expectLoads(
        "shaders/box.hlsl",
        {element("POS_MIN", DXGI_FORMAT_R32G32B32_FLOAT),
         element("POS_MAX", DXGI_FORMAT_R32G32B32_FLOAT),
         element("COL", DXGI_FORMAT_B8G8R8A8_UNORM)}
    );
}

TEST_F(EmbeddedShadersDevice, TheMeshShaderLoads)
{
    expectLoads("shaders/mesh.hlsl", Render::meshInputLayout());
}

TEST_F(EmbeddedShadersDevice, ThePanoramaShaderLoads)
{
    expectLoads("shaders/pano.hlsl", {});
}

TEST_F(EmbeddedShadersDevice, ThePointShaderLoads)
{
    expectLoads("shaders/pointcloud.hlsl", Render::pointInputLayout());
}

TEST_F(EmbeddedShadersDevice, ThePostProcessShaderLoads)
{
    expectLoads("shaders/postprocessing.hlsl", {});
}
