#include "render/gpu/shaderRegistry.h"
#include "tests/support/shaderFacts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace
{
using Kind = ShaderBinding::Kind;
using testing::ElementsAre;

ShaderFacts factsOf(std::string_view path)
{
    for (const Render::EmbeddedFile& file : Render::embeddedShaderBytecode())
    {
        if (file.path == path)
        {
            return shaderFacts(std::as_bytes(std::span(file.bytes)));
        }
    }
    throw std::invalid_argument("there is no such bytecode");
}

std::vector<std::string> namesOf(const std::vector<ShaderSignatureElement>& elements)
{
    std::vector<std::string> names;
    for (const ShaderSignatureElement& element : elements)
    {
        names.push_back(element.name);
    }
    return names;
}
}  // namespace

TEST(ShaderFacts, TellTheInputsAndOutputsOfAStage)
{
    const ShaderFacts box = factsOf("shaders/box.vs.cso");

    EXPECT_THAT(namesOf(box.inputs), ElementsAre("POS_MIN", "POS_MAX", "COL", "SV_VERTEXID"));
    EXPECT_EQ(box.inputs.at(0).componentType, 3U);  // float
    EXPECT_EQ(box.inputs.at(3).componentType, 1U);  // unsigned
    EXPECT_EQ(box.inputs.at(0).systemValue, 0U);
    EXPECT_NE(box.inputs.at(3).systemValue, 0U);
    EXPECT_THAT(namesOf(box.outputs), testing::Contains("SV_POSITION"));
}

TEST(ShaderFacts, TellWhatAStageNeeds)
{
    const ShaderFacts pano = factsOf("shaders/pano.ps.cso");

    std::vector<std::pair<Kind, std::uint32_t>> needed;
    for (const ShaderBinding& binding : pano.bindings)
    {
        needed.emplace_back(binding.kind, binding.slot);
    }
    EXPECT_THAT(
        needed,
        testing::UnorderedElementsAre(
            std::pair(Kind::ConstantBuffer, 0U),
            std::pair(Kind::View, 0U),
            std::pair(Kind::View, 1U),
            std::pair(Kind::Sampler, 0U)
        )
    );
    EXPECT_EQ(pano.bindings.at(0).size, 272U);  // down to the scale, in registers of 16 bytes
}

TEST(ShaderFacts, OfOtherBytesTellNothing)
{
    const std::string text = "no shader at all, but more than thirty-two bytes of it";

    EXPECT_TRUE(shaderFacts(std::as_bytes(std::span(text))).inputs.empty());
    EXPECT_TRUE(shaderFacts({}).bindings.empty());
}
