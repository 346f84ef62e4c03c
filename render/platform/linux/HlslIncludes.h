#pragma once

#include "render/platform/linux/Vkd3dShader.h"

#include <cstddef>
#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace Render
{
class HlslLines;
class IHlslInclude;

/// Answers the include lines of one compilation, the first one with the source itself.
///
/// Exceptions wait here until the compiler, which is written in C, has returned. All that is included has 64
/// MiB at most, so that a file that includes itself has an end.
class HlslIncludes
{
public:
    /// @param include  answers the other lines; null to refuse them
    /// @param lines    marks every file
    HlslIncludes(std::string_view source, IHlslInclude* include, HlslLines& lines);
    ~HlslIncludes();
    HlslIncludes(const HlslIncludes&) = delete;
    HlslIncludes& operator=(const HlslIncludes&) = delete;

    /// For the compiler; `self` is an object of this class.
    static int open(const char* name, bool isLocal, const char* parent, void* self, vkd3d_shader_code* out);
    static void close(const vkd3d_shader_code* code, void* self);

    /// Throws what was thrown while the compiler ran.
    void rethrow() const;

private:
    struct File;

    int open(const char* name, bool isLocal, const void* parent, vkd3d_shader_code& out) noexcept;
    std::unique_ptr<File> read(const char* name, bool isLocal, const void* parent);
    void count(const char* name, std::size_t size);
    void close(const void* text) noexcept;

    std::string_view mSource;
    IHlslInclude* mInclude;
    HlslLines& mLines;
    std::map<const void*, std::unique_ptr<File>> mFiles;  // the open ones by where their texts begin
    std::exception_ptr mError;
    std::size_t mSize = 0;
    int mCount = 0;
};
}  // namespace Render
