#include "render/gpu/shaderRegistry.h"
#include "render/platform/linux/HlslFileInclude.h"
#include "render/platform/linux/IHlslInclude.h"
#include "render/platform/linux/compileByVkd3d.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <locale.h>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <tuple>
#include <vector>

namespace
{
using Render::compileByVkd3d;
using Render::ShaderProfile;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

const std::string kFailure = "Error: Compilation of hlsl shader failed\n";

/// Files in memory; it notes what it is asked for.
class FakeInclude : public Render::IHlslInclude
{
public:
    std::optional<std::string_view> open(const char* name, bool isLocal, const void* parent) override
    {
        requests.push_back(std::string(isLocal ? "local " : "system ") + name);
        parents.push_back(parent);
        const auto file = files.find(name);
        if (file == files.end())
        {
            return std::nullopt;
        }
        ++openCount;
        return file->second;
    }

    void close(const void*) override { --openCount; }

    std::map<std::string, std::string> files;
    std::vector<std::string> requests;
    std::vector<const void*> parents;
    int openCount = 0;
};

/// The library's own sources by their path.
class RegistryInclude : public Render::IHlslInclude
{
public:
    std::optional<std::string_view> open(const char* name, bool, const void*) override
    {
        return Render::ShaderRegistry::open(name);
    }

    void close(const void*) override {}
};

class ThrowingInclude : public Render::IHlslInclude
{
public:
    std::optional<std::string_view> open(const char*, bool, const void*) override
    {
        throw std::system_error(std::make_error_code(std::errc::io_error), "broken disk");
    }

    void close(const void*) override {}
};

std::string compiled(
    const std::string& source,
    Render::IHlslInclude* include = nullptr,
    const ShaderProfile& profile = Render::kPixelProfile
)
{
    return compileByVkd3d(source, "test", include, profile);
}

std::string failureOf(
    const std::string& source,
    Render::IHlslInclude* include = nullptr,
    const ShaderProfile& profile = Render::kPixelProfile
)
{
    return messageOf<std::runtime_error>([&] { compiled(source, include, profile); });
}

std::uint32_t wordAt(const std::string& bytes, std::size_t offset)
{
    std::uint32_t word = 0;
    std::memcpy(&word, bytes.data() + offset, sizeof(word));
    return word;
}

/// The names of a container's chunks.
std::vector<std::string> chunksOf(const std::string& bytecode)
{
    std::vector<std::string> chunks;
    for (std::uint32_t index = 0; index < wordAt(bytecode, 28); ++index)
    {
        chunks.push_back(bytecode.substr(wordAt(bytecode, 32 + 4 * std::size_t{index}), 4));
    }
    return chunks;
}

const std::string kWhite = "float4 ps_main() : SV_TARGET { return float4(1.0, 1.0, 1.0, 1.0); }\n";

class OwnShaders : public testing::TestWithParam<std::tuple<const char*, ShaderProfile>>
{
};

TEST_P(OwnShaders, Compile)
{
    const auto& [name, profile] = GetParam();
    const std::string path = std::string("shaders/") + name + ".hlsl";
    RegistryInclude include;

    EXPECT_EQ(
        compileByVkd3d(Render::ShaderRegistry::open(path), path, &include, profile).substr(0, 4), "DXBC"
    );
}

INSTANTIATE_TEST_SUITE_P(
    All,
    OwnShaders,
    testing::Combine(
        testing::Values("box", "mesh", "pano", "pointcloud", "postprocessing"),
        testing::Values(Render::kVertexProfile, Render::kPixelProfile)
    ),
    [](const auto& test)
    { return std::string(std::get<0>(test.param)) + "_" + std::get<1>(test.param).entryPoint; }
);

TEST(CompileByVkd3d, MakesAContainerWithCodeAndSignatures)
{
    const std::string bytecode = compiled(kWhite);

    ASSERT_GT(bytecode.size(), 32U);
    EXPECT_EQ(bytecode.substr(0, 4), "DXBC");
    EXPECT_EQ(wordAt(bytecode, 24), bytecode.size());
    EXPECT_THAT(
        chunksOf(bytecode),
        AllOf(testing::Contains("ISGN"), testing::Contains("OSGN"), testing::Contains("SHDR"))
    );
}

TEST(CompileByVkd3d, ComputeShadersCompile)
{
    EXPECT_EQ(
        compiled(
            "RWBuffer<uint> target : register(u0);\n"
            "[numthreads(8, 1, 1)] void cs_main(uint3 id : SV_DispatchThreadID) { target[id.x] = id.x * 2u; "
            "}\n",
            nullptr,
            Render::kComputeProfile
        )
            .substr(0, 4),
        "DXBC"
    );
}

TEST(CompileByVkd3d, ErrorsTellSourceAndLine)
{
    EXPECT_THAT(
        failureOf("float4 ps_main() : SV_TARGET\n{\n    return unknown;\n}\n"),
        AllOf(StartsWith(kFailure), HasSubstr("test:3:"), HasSubstr("unknown"))
    );
}

TEST(CompileByVkd3d, ErrorsInTheFirstLineTellIt)
{
    EXPECT_THAT(failureOf("nonsense"), AllOf(StartsWith(kFailure), HasSubstr("test:1:")));
}

TEST(CompileByVkd3d, ErrorsInIncludedFilesTellFileAndLine)
{
    FakeInclude include;
    include.files["part.hlsl"] = "\nfloat part() { return unknown; }\n";

    EXPECT_THAT(
        failureOf("#include \"part.hlsl\"\n" + kWhite, &include),
        AllOf(StartsWith(kFailure), HasSubstr("part.hlsl:2:"))
    );
}

TEST(CompileByVkd3d, ErrorsBehindAnIncludeTellTheSourceAgain)
{
    FakeInclude include;
    include.files["part.hlsl"] = "\n\n\n";

    EXPECT_THAT(failureOf("#include \"part.hlsl\"\nnonsense\n", &include), HasSubstr("test:2:"));
}

/// The lines of what the preprocessor takes out or joins.
TEST(CompileByVkd3d, LinesAreRightBehindCommentsDirectivesAndMacros)
{
    const std::array<const char*, 12> beginnings{
        "/* one\n   two\n*/\n",
        "float a; /* one\n two */ float b;\n",
        "// one \\\n two\n",
        "#define TWICE(x) \\\n    ((x) * 2)\n",
        "#define SUM(a, b) a + b\nstatic const float kSum = SUM(1.0,\n    2.0);\n",
        "#if 0\nnonsense /*\n*/ 'it\n#else\n\n#endif\n",
        "#ifdef UNKNOWN\n#if 1\n#endif\n\nnonsense\n#endif\n",
        "static const float kText = 1.0; // \"/*\n\n",
        "#define BRACE (\n#undef BRACE\n",
        "\r\nstatic const float kOne = 1.0;\r\n/*\r\n*/\r\n",
        "#pragma pack_matrix(row_major)\n\n",
        "#pragma warning(disable : 3206)\nfloat a;\n"};
    for (const std::string beginning : beginnings)
    {
        const auto line = std::ranges::count(beginning, '\n') + 2;
        EXPECT_THAT(
            failureOf(beginning + "float4 ps_main() : SV_TARGET {\nreturn unknown; }\n"),
            StartsWith(kFailure + "test:" + std::to_string(line) + ": E")
        ) << beginning;
    }
}

TEST(CompileByVkd3d, LinesAreRightInAndBehindSeveralIncludes)
{
    FakeInclude include;
    include.files["a.hlsl"] = "/*\n*/\n#include \"b.hlsl\"\nfloat a() { return unknownOfA; }\n";
    include.files["b.hlsl"] = "\nfloat b() { return unknownOfB; }";

    const std::string message = failureOf(
        "\n#include \"a.hlsl\"\n#include \"b.hlsl\"\nfloat4 ps_main() : SV_TARGET { return unknownOfMain; "
        "}\n",
        &include
    );

    EXPECT_THAT(
        message,
        AllOf(
            HasSubstr("b.hlsl:2: E5005: Identifier \"unknownOfB\""),
            HasSubstr("a.hlsl:4: E5005: Identifier \"unknownOfA\""),
            HasSubstr("test:4: E5005: Identifier \"unknownOfMain\"")
        )
    );
}

TEST(CompileByVkd3d, ThePreprocessorsErrorsTellFileAndLine)
{
    FakeInclude include;
    include.files["bad.hlsl"] = "float a;\n#error no\n";

    EXPECT_THAT(failureOf("float a;\n\n#error no\n"), HasSubstr("test:3: E"));
    EXPECT_THAT(failureOf("\n#include \"bad.hlsl\"\n", &include), HasSubstr("bad.hlsl:2: E"));
}

TEST(CompileByVkd3d, SourcesMayHaveAnyName)
{
    for (const std::string name : {"a \"b\" c", "C:\\new\\shader.hlsl", "two\nlines", ""})
    {
        EXPECT_FALSE(compileByVkd3d(kWhite, name, nullptr, Render::kPixelProfile).empty()) << name;
    }
}

TEST(CompileByVkd3d, WarningsAreErrors)
{
    EXPECT_THAT(
        failureOf("float4 ps_main(float4 a : A) : SV_TARGET\n{ float2 b = a; return float4(b, b); }\n"),
        AllOf(StartsWith(kFailure), HasSubstr("test:2:"), HasSubstr("Implicit truncation"))
    );
}

TEST(CompileByVkd3d, AMissingEntryPointFails)
{
    EXPECT_THAT(
        failureOf(kWhite, nullptr, {"main", "ps_5_0"}),
        AllOf(StartsWith(kFailure), HasSubstr("test"), HasSubstr("\"main\""))
    );
}

TEST(CompileByVkd3d, AnUnknownTargetFails)
{
    EXPECT_THAT(failureOf(kWhite, nullptr, {"ps_main", "xy_5_0"}), StartsWith(kFailure + "test"));
}

TEST(CompileByVkd3d, AnEmptySourceFails)
{
    EXPECT_THAT(failureOf(""), StartsWith(kFailure));
    EXPECT_THAT(
        messageOf<std::runtime_error>([] { compileByVkd3d({}, "test", nullptr, Render::kPixelProfile); }),
        StartsWith(kFailure)
    );
}

TEST(CompileByVkd3d, IncludesAreAskedForByNameAndKind)
{
    FakeInclude include;
    include.files["a.hlsl"] = "#include <b.hlsl>\n";
    include.files["b.hlsl"] = "static const float kOne = 1.0;\n";

    compiled("#include \"a.hlsl\"\nfloat4 ps_main() : SV_TARGET { return kOne; }", &include);

    EXPECT_THAT(include.requests, ElementsAre("local a.hlsl", "system b.hlsl"));
    EXPECT_THAT(include.parents, ElementsAre(nullptr, include.files["a.hlsl"].data()));
    EXPECT_EQ(include.openCount, 0);
}

TEST(CompileByVkd3d, FilesMayBeEmptyOrEndWithoutALineEnd)
{
    FakeInclude include;
    include.files["empty.hlsl"] = "";
    include.files["one.hlsl"] = "#include \"two.hlsl\"";
    include.files["two.hlsl"] = "static const float kTwo = 2.0;";

    EXPECT_NO_THROW(compiled(
        "#include \"empty.hlsl\"\n#include \"one.hlsl\"\nfloat4 ps_main() : SV_TARGET { return kTwo; }",
        &include
    ));
}

TEST(CompileByVkd3d, AnUnknownIncludeFails)
{
    FakeInclude include;

    EXPECT_THAT(
        failureOf("#include \"none.hlsl\"\n" + kWhite, &include),
        AllOf(StartsWith(kFailure), HasSubstr("test:1:"), HasSubstr("none.hlsl"))
    );
}

TEST(CompileByVkd3d, WithoutAnIncludeHandlerIncludesFail)
{
    EXPECT_THAT(
        failureOf("#include \"/etc/passwd\"\n" + kWhite),
        AllOf(StartsWith(kFailure), HasSubstr("/etc/passwd"))
    );
}

TEST(CompileByVkd3d, AnIncludeLineThatAMacroMakesReadsNothing)
{
    const TemporaryFolder folder;
    const std::string path = folder.write("part.hlsl", kWhite).string();

    EXPECT_THAT(failureOf("#define HASH #\nHASH include \"" + path + "\"\n"), StartsWith(kFailure));
}

TEST(CompileByVkd3d, WhatAnIncludeHandlerThrowsComesThrough)
{
    ThrowingInclude include;

    EXPECT_THROW(compiled("#include \"a.hlsl\"\n" + kWhite, &include), std::system_error);
    EXPECT_NO_THROW(compiled(kWhite, &include));
}

TEST(CompileByVkd3d, AFileThatIncludesItselfFails)
{
    FakeInclude include;
    include.files["loop.hlsl"] = "#include \"loop.hlsl\"\n";

    EXPECT_THAT(
        failureOf("#include \"loop.hlsl\"\n" + kWhite, &include),
        AllOf(StartsWith(kFailure), HasSubstr("loop.hlsl"), HasSubstr("in 4096 files expected"))
    );
    EXPECT_EQ(include.openCount, 0);
}

TEST(CompileByVkd3d, FilesAreClosedAfterAnError)
{
    FakeInclude include;
    include.files["bad.hlsl"] = "#error no\n";

    EXPECT_THAT(failureOf("#include \"bad.hlsl\"\n" + kWhite, &include), StartsWith(kFailure));
    EXPECT_EQ(include.openCount, 0);
}

TEST(CompileByVkd3d, FilesBesideTheSourceAreIncluded)
{
    const TemporaryFolder folder;
    folder.write("part.hlsl", "static const float kOne = 1.0;\n");
    Render::HlslFileInclude include(folder.path() / "main.hlsl");

    EXPECT_EQ(
        compiled("#include \"part.hlsl\"\nfloat4 ps_main() : SV_TARGET { return kOne; }", &include),
        compiled("static const float kOne = 1.0;\nfloat4 ps_main() : SV_TARGET { return kOne; }")
    );
}

/// Constant expressions are calculated while compiling, so equal values give equal bytecode.
TEST(CompileByVkd3d, CountbitsCounts)
{
    const std::array<std::pair<const char*, const char*>, 5> cases{
        {{"0u", "0u"}, {"1u", "1u"}, {"0x80000000u", "1u"}, {"0xf0f0u", "8u"}, {"0xffffffffu", "32u"}}};
    for (const auto& [value, count] : cases)
    {
        EXPECT_EQ(
            compiled(std::string("uint ps_main() : SV_TARGET { return countbits(") + value + "); }"),
            compiled(std::string("uint ps_main() : SV_TARGET { return ") + count + "; }")
        ) << value;
    }
}

TEST(CompileByVkd3d, NumbersCanBeClassified)
{
    for (const char* const question : {"isnan", "isinf", "isfinite"})
    {
        EXPECT_NO_THROW(compiled(
            std::string("float4 ps_main(float4 a : A) : SV_TARGET { return ") + question + "(a) ? 1.0 : a; }"
        )) << question;
        EXPECT_NO_THROW(compiled(
            std::string("float4 ps_main(float a : A) : SV_TARGET { if (") + question +
            "(a)) discard; return a; }"
        )) << question;
    }
}

TEST(CompileByVkd3d, TheThreadsLocaleStays)
{
    const locale_t before = uselocale(nullptr);

    compiled(kWhite);
    EXPECT_EQ(uselocale(nullptr), before);
    failureOf("nonsense");
    EXPECT_EQ(uselocale(nullptr), before);
}

TEST(CompileByVkd3d, ThreadsCompileAtOnce)
{
    RegistryInclude include;
    const auto source = Render::ShaderRegistry::open("shaders/pointcloud.hlsl");
    const std::string expected = compileByVkd3d(source, "points", &include, Render::kPixelProfile);
    std::array<std::string, 4> results;
    std::array<std::string, 4> failures;
    {
        std::vector<std::jthread> threads;
        for (std::size_t index = 0; index < results.size(); ++index)
        {
            threads.emplace_back(
                [&, index]
                {
                    RegistryInclude ownInclude;
                    for (int round = 0; round < 5; ++round)
                    {
                        results[index] = compileByVkd3d(source, "points", &ownInclude, Render::kPixelProfile);
                        failures[index] = failureOf("nonsense");
                    }
                }
            );
        }
    }

    EXPECT_THAT(results, testing::Each(expected));
    EXPECT_THAT(failures, testing::Each(failureOf("nonsense")));
}
}  // namespace
