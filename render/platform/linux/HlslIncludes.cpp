#include "render/platform/linux/HlslIncludes.h"

#include "render/platform/linux/HlslLines.h"
#include "render/platform/linux/IHlslInclude.h"

#include <stdexcept>
#include <utility>

namespace Render
{
namespace
{
constexpr std::size_t kLargestSource = 64U << 20U;
constexpr int kMostFiles = 4096;
}  // namespace

/// What the compiler reads, and the bytes it was made of; none of the source itself, which needs no closing.
struct HlslIncludes::File
{
    std::string text;
    std::optional<const void*> bytes;
};

HlslIncludes::HlslIncludes(std::string_view source, IHlslInclude* include, HlslLines& lines)
    : mSource(source), mInclude(include), mLines(lines)
{
}

HlslIncludes::~HlslIncludes() = default;

int HlslIncludes::open(const char* name, bool isLocal, const char* parent, void* self, vkd3d_shader_code* out)
{
    return static_cast<HlslIncludes*>(self)->open(name, isLocal, parent, *out);
}

void HlslIncludes::close(const vkd3d_shader_code* code, void* self)
{
    static_cast<HlslIncludes*>(self)->close(code->code);
}

void HlslIncludes::rethrow() const
{
    if (mError)
    {
        std::rethrow_exception(mError);
    }
}

int HlslIncludes::open(const char* name, bool isLocal, const void* parent, vkd3d_shader_code& out) noexcept
{
    if (mError)
    {
        return VKD3D_ERROR;
    }
    try
    {
        std::unique_ptr<File> file = read(name, isLocal, parent);
        if (file == nullptr)
        {
            return VKD3D_ERROR_NOT_FOUND;
        }
        out = {file->text.data(), file->text.size()};
        mFiles.emplace(out.code, std::move(file));
        return VKD3D_OK;
    }
    catch (...)
    {
        mError = std::current_exception();
        return VKD3D_ERROR;
    }
}

std::unique_ptr<HlslIncludes::File> HlslIncludes::read(const char* name, bool isLocal, const void* parent)
{
    auto file = std::make_unique<File>();
    if (mCount == 0)
    {
        count(name, mSource.size());
        file->text = mLines.marked(mSource, name);
        return file;
    }
    if (mInclude == nullptr)
    {
        return nullptr;
    }
    const auto includer = mFiles.find(parent);
    const bool isInSource = includer == mFiles.end() || !includer->second->bytes;
    const auto bytes = mInclude->open(name, isLocal, isInSource ? nullptr : *includer->second->bytes);
    if (!bytes)
    {
        return nullptr;
    }
    file->bytes = bytes->data();
    try
    {
        count(name, bytes->size());
        file->text = mLines.marked(*bytes, name);
        return file;
    }
    catch (...)
    {
        mInclude->close(bytes->data());
        throw;
    }
}

void HlslIncludes::count(const char* name, std::size_t size)
{
    ++mCount;
    mSize += size;
    if (mCount > kMostFiles || mSize > kLargestSource)
    {
        throw std::runtime_error(
            "Error: Compilation of hlsl shader failed\n" + std::string(name) + ": the source has " +
            std::to_string(mSize) + " bytes in " + std::to_string(mCount) + " files so far, at most " +
            std::to_string(kLargestSource) + " bytes in " + std::to_string(kMostFiles) + " files expected\n"
        );
    }
}

void HlslIncludes::close(const void* text) noexcept
{
    try
    {
        const auto file = mFiles.extract(text);
        if (file && file.mapped()->bytes)
        {
            mInclude->close(*file.mapped()->bytes);
        }
    }
    catch (...)
    {
        mError = std::current_exception();
    }
}
}  // namespace Render
