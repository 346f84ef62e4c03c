#include "render/platform/linux/compileByVkd3d.h"

#include "render/platform/linux/HlslIncludes.h"
#include "render/platform/linux/HlslLines.h"
#include "render/platform/linux/Vkd3dShader.h"

#include <algorithm>
#include <cerrno>
#include <locale.h>
#include <memory>
#include <new>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace Render
{
namespace
{
const std::string kFailure = "Error: Compilation of hlsl shader failed\n";

/// What the library lacks. The bits are counted in pairs, nibbles and bytes; an exponent of all ones is
/// infinite or no number. As comparisons of floats the latter could be optimized away.
constexpr std::string_view kMissingFunctions = R"(uint countbits(uint value)
{
    value -= (value >> 1) & 0x55555555u;
    value = (value & 0x33333333u) + ((value >> 2) & 0x33333333u);
    return (((value + (value >> 4)) & 0x0f0f0f0fu) * 0x01010101u) >> 24;
}
#define isnan(value) ((asuint((value) * 1.0) & 0x7fffffffu) > 0x7f800000u)
#define isinf(value) ((asuint((value) * 1.0) & 0x7fffffffu) == 0x7f800000u)
#define isfinite(value) ((asuint((value) * 1.0) & 0x7f800000u) != 0x7f800000u)
)";

/// While it lives this thread reads numbers with a point, as the compiler takes for granted.
class PlainLocale
{
public:
    PlainLocale() : mPlain(newlocale(LC_ALL_MASK, "C", nullptr))
    {
        if (mPlain == nullptr)
        {
            throw std::system_error(errno, std::generic_category(), "newlocale");
        }
        mFormer = uselocale(mPlain);
    }

    ~PlainLocale()
    {
        uselocale(mFormer);
        freelocale(mPlain);
    }

    PlainLocale(const PlainLocale&) = delete;
    PlainLocale& operator=(const PlainLocale&) = delete;

private:
    locale_t mPlain = nullptr;
    locale_t mFormer = nullptr;
};

/// The name as an include line can say it.
std::string quotable(std::string name)
{
    std::ranges::replace_if(
        name, [](char letter) { return static_cast<unsigned char>(letter) < 0x20; }, '?'
    );
    std::ranges::replace(name, '"', '\'');
    return name;
}

/// The library would read files itself for an include line that a macro made; no preprocessor allows those.
int refuseInclude(const char*, bool, const char*, void*, vkd3d_shader_code*)
{
    return VKD3D_ERROR_NOT_FOUND;
}

void closeNothing(const vkd3d_shader_code*, void*) {}

/// What the library made, and what it had to say.
struct Outcome
{
    int result = VKD3D_ERROR;
    std::string code;
    std::string messages;
};

template <class Function>
Outcome outcomeOf(Function function, const vkd3d_shader_compile_info& job)
{
    const Vkd3dShader& library = Vkd3dShader::instance();
    vkd3d_shader_code code{};
    char* messages = nullptr;
    const int result = function(&job, &code, &messages);
    const std::unique_ptr<char, decltype(library.freeMessages)> messagesOwner(messages, library.freeMessages);
    const std::unique_ptr<vkd3d_shader_code, decltype(library.freeCode)> codeOwner(
        result < 0 ? nullptr : &code, library.freeCode
    );
    if (result == VKD3D_ERROR_OUT_OF_MEMORY)
    {
        throw std::bad_alloc();
    }
    Outcome outcome{result, {}, messages == nullptr ? "" : messages};
    if (result >= 0)
    {
        outcome.code.assign(static_cast<const char*>(code.code), code.size);
    }
    return outcome;
}

/// @throws std::runtime_error  when there is no code, or there are warnings
/// @param messages  of the outcome, as the host shall see them
void check(const Outcome& outcome, const std::string& messages, const std::string& sourceName)
{
    if (outcome.result >= 0 && messages.empty())
    {
        return;
    }
    if (!messages.empty())
    {
        throw std::runtime_error(kFailure + messages);
    }
    throw std::runtime_error(
        kFailure + sourceName + ": the compiler gave up without a message, with result " +
        std::to_string(outcome.result) +
        (outcome.result == VKD3D_ERROR_NOT_IMPLEMENTED ? " (not implemented)\n" : "\n")
    );
}
}  // namespace

std::string compileByVkd3d(
    std::string_view source,
    const std::string& sourceName,
    IHlslInclude* include,
    const ShaderProfile& profile
)
{
    const Vkd3dShader& library = Vkd3dShader::instance();
    const PlainLocale locale;
    const std::string name = quotable(sourceName);
    HlslLines lines;
    HlslIncludes includes(source, include, lines);
    vkd3d_shader_preprocess_info preprocessing{};
    preprocessing.type = VKD3D_SHADER_STRUCTURE_TYPE_PREPROCESS_INFO;
    preprocessing.pfn_open_include = &HlslIncludes::open;
    preprocessing.pfn_close_include = &HlslIncludes::close;
    preprocessing.include_context = &includes;

    vkd3d_shader_hlsl_source_info stage{};
    stage.type = VKD3D_SHADER_STRUCTURE_TYPE_HLSL_SOURCE_INFO;
    stage.next = &preprocessing;
    stage.entry_point = profile.entryPoint;
    stage.profile = profile.target;

    const vkd3d_shader_compile_option version{
        VKD3D_SHADER_COMPILE_OPTION_API_VERSION, VKD3D_SHADER_API_VERSION_1_14};
    vkd3d_shader_compile_info job{};
    job.type = VKD3D_SHADER_STRUCTURE_TYPE_COMPILE_INFO;
    job.next = &stage;
    job.source_type = VKD3D_SHADER_SOURCE_HLSL;
    job.target_type = VKD3D_SHADER_TARGET_DXBC_TPF;
    job.options = &version;
    job.option_count = 1;
    job.log_level = VKD3D_SHADER_LOG_WARNING;

    const std::string root = "#include \"" + name + "\"\n";
    job.source = {root.data(), root.size()};
    job.source_name = name.c_str();
    const Outcome preprocessed = outcomeOf(library.preprocess, job);
    includes.rethrow();
    check(preprocessed, lines.relocated(preprocessed.messages), name);

    const std::string text = lines.unmarked(preprocessed.code, kMissingFunctions);
    preprocessing.pfn_open_include = &refuseInclude;
    preprocessing.pfn_close_include = &closeNothing;
    job.source = {text.data(), text.size()};
    job.source_name = HlslLines::kUnmarked;
    Outcome compiled = outcomeOf(library.compile, job);
    check(compiled, lines.relocated(compiled.messages), name);
    return std::move(compiled.code);
}
}  // namespace Render
