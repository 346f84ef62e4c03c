#include "render/gpu/ComputeShader.h"
#include "render/gpu/GeometryShader.h"
#include "render/gpu/PixelShader.h"
#include "render/gpu/RenderTargetView.h"
#include "render/gpu/ShaderInclude.h"
#include "render/gpu/VertexShader.h"
#include "render/gpu/inputLayouts.h"
#include "render/gpu/shaderBytecode.h"
#include "render/gpu/shaderRegistry.h"
#include "tests/render/gpu/referenceCount.h"
#include "tests/render/gpu/resultOf.h"
#include "tests/support/CheckedContext.h"
#include "tests/support/DeviceFixture.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"
#include "tests/support/testData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

using Render::compileHlsl;
using Render::ComputeShader;
using Render::GeometryShader;
using Render::PixelShader;
using Render::ShaderInclude;
using Render::VertexShader;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace
{
const std::string kFailure = "Error: Compilation of hlsl shader failed\n";

// Each system's compiler has its own numbers for messages.
#if defined(_WIN32)
const std::string kErrorNumber = "error X";
const std::string kTruncationNumber = "X3206";
#else
const std::string kErrorNumber = ": E5";
const std::string kTruncationNumber = ": W5300: ";
#endif

const std::string kVertexSource = R"(
float4 vs_main(uint id : SV_VertexID) : SV_POSITION
{
    return float4(lerp(-1.0, 1.0, (id >> 1) & 1), lerp(-1.0, 1.0, id & 1), 0.5, 1.0);
})";
const std::string kPixelSource = "float4 ps_main() : SV_TARGET { return float4(1.0, 2.0, 3.0, 4.0); }";
const std::string kGeometrySource = R"(
struct Vertex { float4 position : SV_POSITION; };
[maxvertexcount(3)] void gs_main(triangle Vertex input[3], inout TriangleStream<Vertex> stream)
{
    for (int i = 0; i < 3; ++i)
    {
        stream.Append(input[i]);
    }
})";
const std::string kComputeSource = R"(
RWBuffer<uint> result : register(u0);
[numthreads(1, 1, 1)] void cs_main() { result[0] = 42; })";

std::string compiled(const std::string& source, const Render::ShaderProfile& profile)
{
    return compileHlsl(source, "test", nullptr, profile);
}

class ShadersDevice : public DeviceFixture
{
public:
    /// What a quad over the whole target leaves in it.
    Float4 drawn(const VertexShader& vertexShader, const PixelShader& pixelShader)
    {
        const Render::Texture2d texture(
            device(), textureDesc(2, 2, DXGI_FORMAT_R32G32B32A32_FLOAT, D3D11_BIND_RENDER_TARGET)
        );
        const Render::RenderTargetView view(device(), texture.get(), {});
        view.clear(context());
        ID3D11RenderTargetView* const targets[] = {view.get()};
        context()->OMSetRenderTargets(1, targets, nullptr);
        setViewport(2, 2);
        vertexShader.begin(context());
        pixelShader.begin(context());
        context()->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP);
        context()->Draw(4, 0);
        vertexShader.end(context());
        pixelShader.end(context());
        context()->OMSetRenderTargets(0, nullptr, nullptr);
        return readBack<Float4>(texture).at(1, 1);
    }

    VertexShader quadShader()
    {
        return VertexShader::fromCsoString(device(), compiled(kVertexSource, Render::kVertexProfile), {});
    }

    PixelShader numberShader()
    {
        return PixelShader::fromCsoString(device(), compiled(kPixelSource, Render::kPixelProfile));
    }
};
}  // namespace

TEST_F(ShadersDevice, CompiledSourcesDraw)
{
    EXPECT_THAT(drawn(quadShader(), numberShader()), ElementsAre(1.0f, 2.0f, 3.0f, 4.0f));
}

TEST_F(ShadersDevice, SourceFilesAreCompiledWithIncludesFromTheirFolder)
{
    const TemporaryFolder folder;
    folder.write("part.hlsl", "static const float4 kValue = float4(5.0, 6.0, 7.0, 8.0);\n");
    const auto pixel =
        folder.write("pixel.hlsl", "#include \"part.hlsl\"\nfloat4 ps_main() : SV_TARGET { return kValue; }");
    const auto vertex = folder.write("vertex.hlsl", kVertexSource);

    EXPECT_THAT(
        drawn(VertexShader::fromHlslFile(device(), vertex, {}), PixelShader::fromHlslFile(device(), pixel)),
        ElementsAre(5.0f, 6.0f, 7.0f, 8.0f)
    );
}

TEST_F(ShadersDevice, BytecodeFilesAreTakenAsTheyAre)
{
    const TemporaryFolder folder;
    const auto vertex = folder.write("vertex.cso", compiled(kVertexSource, Render::kVertexProfile));
    const auto pixel = folder.write("pixel.cso", compiled(kPixelSource, Render::kPixelProfile));

    EXPECT_THAT(
        drawn(VertexShader::fromCsoFile(device(), vertex, {}), PixelShader::fromCsoFile(device(), pixel)),
        ElementsAre(1.0f, 2.0f, 3.0f, 4.0f)
    );
}

TEST_F(ShadersDevice, EveryStageIsBoundByBeginAndUnboundByEnd)
{
    const TemporaryFolder folder;
    const auto compute = folder.write("compute.hlsl", kComputeSource);
    const std::filesystem::path geometryCode = testData() / "shaders" / "triangles.gs.cso";
    const auto computeCode = folder.write("compute.cso", compiled(kComputeSource, Render::kComputeProfile));
    const auto bound = [&](const auto& shader)
    {
        shader.begin(context());
        const std::vector<std::string> during = boundObjects(context());
        shader.end(context());
        EXPECT_THAT(boundObjects(context()), IsEmpty());
        return during;
    };

    EXPECT_THAT(bound(quadShader()), ElementsAre("VS shader"));
    EXPECT_THAT(bound(numberShader()), ElementsAre("PS shader"));
    EXPECT_THAT(bound(GeometryShader::fromCsoFile(device(), geometryCode)), ElementsAre("GS shader"));
    EXPECT_THAT(bound(ComputeShader::fromHlslFile(device(), compute)), ElementsAre("CS shader"));
    EXPECT_THAT(bound(ComputeShader::fromCsoFile(device(), computeCode)), ElementsAre("CS shader"));
}

#if defined(_WIN32)
TEST_F(ShadersDevice, GeometryShadersCompileWhenTheyAreCreated)
{
    const TemporaryFolder folder;
    const auto shader =
        GeometryShader::fromHlslFile(device(), folder.write("geometry.hlsl", kGeometrySource));

    shader.begin(context());
    EXPECT_THAT(boundObjects(context()), ElementsAre("GS shader"));
    shader.end(context());
}
#else
TEST_F(ShadersDevice, TheSourcesOfGeometryShadersAreRefusedWithTheirLine)
{
    const TemporaryFolder folder;
    const auto source = folder.write("geometry.hlsl", kGeometrySource);

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { GeometryShader::fromHlslFile(device(), source); }),
        testing::AllOf(StartsWith(kFailure), HasSubstr("geometry.hlsl:3: E5"))
    );
}
#endif

TEST_F(ShadersDevice, AnEmptyLayoutIsNotSetButEndStillClearsTheLayout)
{
    const VertexShader shader = quadShader();
    CheckedContext checked(context());

    shader.begin(&checked);
    EXPECT_THAT(checked.calls(), ElementsAre("VSSetShader ?"));

    checked.forgetCalls();
    shader.end(&checked);
    EXPECT_THAT(checked.calls(), ElementsAre("IASetInputLayout null", "VSSetShader null"));
}

TEST_F(ShadersDevice, ALayoutIsSetBeforeTheShader)
{
    const VertexShader shader =
        VertexShader::fromHlslResource(device(), "shaders/mesh.hlsl", Render::meshInputLayout());
    CheckedContext checked(context());

    shader.begin(&checked);
    EXPECT_THAT(checked.calls(), ElementsAre("IASetInputLayout ?", "VSSetShader ?"));
    EXPECT_THAT(boundObjects(context()), ElementsAre("VS shader", "input layout"));

    shader.end(&checked);
    EXPECT_THAT(boundObjects(context()), IsEmpty());
}

TEST_F(ShadersDevice, EmptyShadersSetNothing)
{
    CheckedContext checked(context());

    VertexShader().begin(&checked);
    PixelShader().begin(&checked);
    GeometryShader().begin(&checked);
    ComputeShader().begin(&checked);

    EXPECT_THAT(
        checked.calls(),
        ElementsAre("VSSetShader null", "PSSetShader null", "GSSetShader null", "CSSetShader null")
    );
}

TEST_F(ShadersDevice, AMovedShaderIsEmpty)
{
    VertexShader source =
        VertexShader::fromHlslResource(device(), "shaders/mesh.hlsl", Render::meshInputLayout());
    VertexShader target;
    target = std::move(source);
    PixelShader pixelSource = numberShader();
    const PixelShader pixelTarget(std::move(pixelSource));
    CheckedContext checked(context());

    source.begin(&checked);       // NOLINT(bugprone-use-after-move): empty is promised
    pixelSource.begin(&checked);  // NOLINT(bugprone-use-after-move)
    target.begin(&checked);
    pixelTarget.begin(&checked);

    EXPECT_THAT(
        checked.calls(),
        ElementsAre(
            "VSSetShader null", "PSSetShader null", "IASetInputLayout ?", "VSSetShader ?", "PSSetShader ?"
        )
    );
}

TEST_F(ShadersDevice, BytecodeThatIsNoneThrowsTheResult)
{
    const std::string vertexCode = compiled(kVertexSource, Render::kVertexProfile);
    const std::string pixelCode = compiled(kPixelSource, Render::kPixelProfile);

    for (const std::string& bytes :
         {std::string("no bytecode at all"), std::string(), std::string("DXB"), vertexCode.substr(0, 40)})
    {
        EXPECT_EQ(resultOf([&] { VertexShader::fromCsoString(device(), bytes, {}); }), E_INVALIDARG)
            << bytes.size();
        EXPECT_EQ(resultOf([&] { PixelShader::fromCsoString(device(), bytes); }), E_INVALIDARG)
            << bytes.size();
        EXPECT_EQ(resultOf([&] { GeometryShader::fromCsoString(device(), bytes); }), E_INVALIDARG)
            << bytes.size();
        EXPECT_EQ(resultOf([&] { ComputeShader::fromCsoString(device(), bytes); }), E_INVALIDARG)
            << bytes.size();
    }
    EXPECT_EQ(resultOf([&] { VertexShader::fromCsoString(device(), pixelCode, {}); }), E_INVALIDARG);
    EXPECT_EQ(resultOf([&] { PixelShader::fromCsoString(device(), vertexCode); }), E_INVALIDARG);
}

TEST_F(ShadersDevice, EmbeddedSourceTakenAsBytecodeThrowsTheResult)
{
    const char* const name = "/shaders//mesh.hlsl";

    EXPECT_EQ(resultOf([&] { VertexShader::fromCsoResource(device(), name, {}); }), E_INVALIDARG);
    EXPECT_EQ(resultOf([&] { PixelShader::fromCsoResource(device(), name); }), E_INVALIDARG);
    EXPECT_EQ(resultOf([&] { GeometryShader::fromCsoResource(device(), name); }), E_INVALIDARG);
    EXPECT_EQ(resultOf([&] { ComputeShader::fromCsoResource(device(), name); }), E_INVALIDARG);
}

TEST_F(ShadersDevice, ALayoutThatLacksAnElementThrowsTheResult)
{
    VertexShader::Layout layout = Render::meshInputLayout();
    layout.pop_back();

    EXPECT_EQ(
        resultOf([&] { VertexShader::fromHlslResource(device(), "shaders/mesh.hlsl", layout); }), E_INVALIDARG
    );
}

TEST_F(ShadersDevice, UnknownResourcesAndDirectoriesThrow)
{
    for (const std::string name : {"shaders", "shaders/none.hlsl", "Shaders/box.hlsl", ""})
    {
        EXPECT_THROW(VertexShader::fromHlslResource(device(), name, {}), std::system_error) << name;
        EXPECT_THROW(PixelShader::fromHlslResource(device(), name), std::system_error) << name;
        EXPECT_THROW(GeometryShader::fromHlslResource(device(), name), std::system_error) << name;
        EXPECT_THROW(ComputeShader::fromHlslResource(device(), name), std::system_error) << name;
        EXPECT_THROW(VertexShader::fromCsoResource(device(), name, {}), std::system_error) << name;
        EXPECT_THROW(PixelShader::fromCsoResource(device(), name), std::system_error) << name;
        EXPECT_THROW(GeometryShader::fromCsoResource(device(), name), std::system_error) << name;
        EXPECT_THROW(ComputeShader::fromCsoResource(device(), name), std::system_error) << name;
    }
}

TEST_F(ShadersDevice, MissingFilesThrowWithTheirPath)
{
    const TemporaryFolder folder;
    const auto path = folder.path() / "none.hlsl";

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { PixelShader::fromHlslFile(device(), path); }),
        HasSubstr("none.hlsl")
    );
    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { PixelShader::fromCsoFile(device(), path); }),
        HasSubstr("none.hlsl")
    );
    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { VertexShader::fromHlslFile(device(), path, {}); }),
        HasSubstr("none.hlsl")
    );
    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { VertexShader::fromCsoFile(device(), path, {}); }),
        HasSubstr("none.hlsl")
    );
}

TEST_F(ShadersDevice, AResourceWithoutTheEntryPointFailsToCompile)
{
    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { GeometryShader::fromHlslResource(device(), "shaders/mesh.hlsl"); }
        ),
        testing::AllOf(StartsWith(kFailure), HasSubstr("gs_main"))
    );
    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { ComputeShader::fromHlslResource(device(), "shaders/mesh.hlsl"); }
        ),
        testing::AllOf(StartsWith(kFailure), HasSubstr("cs_main"))
    );
}

TEST_F(ShadersDevice, APointIsReadFromItsTwentyBytes)
{
    const std::string vertexSource = R"(
struct Input
{
    float4 pos : POS; float4 col : COL; float intensity : INTENSITY;
    uint classIndex : CLASSINDEX; uint scanIndex : SCANINDEX; uint id : SV_VertexID;
};
struct Output { float4 position : SV_POSITION; nointerpolation float4 values : VALUES; };
Output vs_main(Input input)
{
    Output output;
    output.position = float4(lerp(-1.0, 1.0, (input.id >> 1) & 1), lerp(-1.0, 1.0, input.id & 1), 0.5, 1.0);
    output.values = float4(
        input.pos.x + 10.0 * input.pos.y + 100.0 * input.pos.z + 1000.0 * input.pos.w,
        input.col.r + 10.0 * input.col.g + 100.0 * input.col.b + 1000.0 * input.col.a,
        input.intensity,
        float(input.classIndex) + 1000.0 * float(input.scanIndex));
    return output;
})";
    const std::string pixelSource =
        "float4 ps_main(float4 position : SV_POSITION, nointerpolation float4 values : VALUES) : SV_TARGET { "
        "return values; }";
    const auto vertexShader = VertexShader::fromCsoString(
        device(), compiled(vertexSource, Render::kVertexProfile), Render::pointInputLayout()
    );
    const auto pixelShader =
        PixelShader::fromCsoString(device(), compiled(pixelSource, Render::kPixelProfile));
    unsigned char point[20]{};
    const float position[3] = {1.0f, 2.0f, 3.0f};
    std::memcpy(point, position, sizeof position);
    point[12] = 0;     // blue
    point[13] = 255;   // green
    point[14] = 0;     // red
    point[15] = 255;   // alpha
    point[16] = 255;   // intensity
    point[17] = 7;     // class
    point[18] = 0x2C;  // scan 300, low byte first
    point[19] = 0x01;
    const D3D11_BUFFER_DESC desc{sizeof point, D3D11_USAGE_IMMUTABLE, D3D11_BIND_VERTEX_BUFFER, 0, 0, 0};
    const D3D11_SUBRESOURCE_DATA data{point, 0, 0};
    Render::CComPtr<ID3D11Buffer> buffer;
    ASSERT_EQ(device()->CreateBuffer(&desc, &data, buffer.put()), S_OK);
    ID3D11Buffer* const buffers[] = {buffer};
    const UINT stride = sizeof point;
    const UINT offset = 0;
    context()->IASetVertexBuffers(0, 1, buffers, &stride, &offset);

    // Position 1 + 20 + 300 + 1000, colour 10 + 1000, class 7, scan 300.
    EXPECT_THAT(drawn(vertexShader, pixelShader), ElementsAre(1321.0f, 1010.0f, 1.0f, 300007.0f));
}

TEST(CompileHlsl, TellsTheCompilersMessageAndTheSource)
{
    const std::string message = messageOf<std::runtime_error>(
        [] { compileHlsl("nonsense", "my source", nullptr, Render::kPixelProfile); }
    );

    EXPECT_THAT(
        message, testing::AllOf(StartsWith(kFailure), HasSubstr("my source"), HasSubstr(kErrorNumber))
    );
    EXPECT_EQ(message.find('\0'), std::string::npos);
}

TEST(CompileHlsl, TakesWarningsAsErrors)
{
    EXPECT_THAT(
        messageOf<std::runtime_error>(
            []
            {
                compiled(
                    "float4 ps_main(float4 a : A) : SV_TARGET { float2 b = a; return float4(b, b); }",
                    Render::kPixelProfile
                );
            }
        ),
        testing::AllOf(StartsWith(kFailure), HasSubstr(kTruncationNumber))  // implicit truncation
    );
}

TEST(CompileHlsl, AnEmptySourceFails)
{
    EXPECT_THAT(
        messageOf<std::runtime_error>([] { compiled("", Render::kPixelProfile); }), StartsWith(kFailure)
    );
}

TEST(CompileHlsl, IncludesComeFromTheRegistry)
{
    ShaderInclude include;
    const std::string source =
        "#include \"/shaders//colorprocessing.hlsl\"\n"
        "float4 ps_main() : SV_TARGET { return float4(gray(0.5).xyz, 1.0); }";

    EXPECT_FALSE(compileHlsl(source, "test", &include, Render::kPixelProfile).empty());
}

TEST(CompileHlsl, AnIncludeThatTheRegistryLacksFails)
{
    ShaderInclude include;

    EXPECT_THAT(
        messageOf<std::runtime_error>(
            [&] { compileHlsl("#include \"shaders/none.hlsl\"\n", "test", &include, Render::kPixelProfile); }
        ),
        testing::AllOf(StartsWith(kFailure), HasSubstr("shaders/none.hlsl"))
    );
}

TEST(ShaderIncludeHook, OpenGivesACopyAndCloseTakesIt)
{
    ShaderInclude include;
    const std::string_view expected = Render::ShaderRegistry::open("shaders/box.hlsl");
    const void* data = nullptr;
    UINT size = 0;

    ASSERT_EQ(include.Open(D3D_INCLUDE_SYSTEM, "/shaders/box.hlsl/", "parent", &data, &size), S_OK);

    EXPECT_NE(data, expected.data());
    EXPECT_EQ(std::string_view(static_cast<const char*>(data), size), expected);
    EXPECT_EQ(include.Close(data), S_OK);
}

TEST(ShaderIncludeHook, UnknownNamesAreRefused)
{
    ShaderInclude include;
    const void* data = nullptr;
    UINT size = 0;

    EXPECT_EQ(include.Open(D3D_INCLUDE_LOCAL, "box.hlsl", nullptr, &data, &size), E_FAIL);
    EXPECT_EQ(data, nullptr);
}

TEST(ShaderIncludeHook, ADirectoryThrows)
{
    ShaderInclude include;
    const void* data = nullptr;
    UINT size = 0;

    EXPECT_THROW(include.Open(D3D_INCLUDE_LOCAL, "shaders/", nullptr, &data, &size), std::system_error);
}

TEST(InputLayouts, ThePointLayoutIsPerInstance)
{
    const auto layout = Render::pointInputLayout();

    std::vector<std::string> rows;
    for (const D3D11_INPUT_ELEMENT_DESC& element : layout)
    {
        EXPECT_EQ(element.SemanticIndex, 0U);
        EXPECT_EQ(element.InputSlot, 0U);
        EXPECT_EQ(element.InputSlotClass, D3D11_INPUT_PER_INSTANCE_DATA);
        EXPECT_EQ(element.InstanceDataStepRate, 1U);
        EXPECT_EQ(element.AlignedByteOffset, rows.empty() ? 0U : UINT{D3D11_APPEND_ALIGNED_ELEMENT});
        rows.push_back(element.SemanticName + std::string(" ") + std::to_string(element.Format));
    }
    EXPECT_THAT(rows, ElementsAre("POS 6", "COL 87", "INTENSITY 61", "CLASSINDEX 62", "SCANINDEX 57"));
}

TEST(InputLayouts, TheMeshLayoutIsPerVertex)
{
    const auto layout = Render::meshInputLayout();

    std::vector<std::string> rows;
    for (const D3D11_INPUT_ELEMENT_DESC& element : layout)
    {
        EXPECT_EQ(element.SemanticIndex, 0U);
        EXPECT_EQ(element.InputSlot, 0U);
        EXPECT_EQ(element.InputSlotClass, D3D11_INPUT_PER_VERTEX_DATA);
        EXPECT_EQ(element.InstanceDataStepRate, 0U);
        rows.push_back(
            element.SemanticName + std::string(" ") + std::to_string(element.Format) + " " +
            std::to_string(element.AlignedByteOffset)
        );
    }
    EXPECT_THAT(rows, ElementsAre("POS 6 0", "NML 6 12", "UV 16 24", "COL 87 32"));
}
