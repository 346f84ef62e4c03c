#include "render/platform/compileHlsl.h"

#include <stdexcept>

namespace Render
{
std::string compileHlsl(
    std::string_view, const std::string& sourceName, ID3DInclude*, const ShaderProfile&
)
{
    throw std::runtime_error(
        "Error: Compilation of hlsl shader failed\n" + sourceName +
        ": there is no compiler on this system; compile the shader on Windows and give its bytecode"
    );
}
}  // namespace Render
