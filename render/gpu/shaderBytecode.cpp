#include "render/gpu/shaderBytecode.h"

#include "core/readLocalFile.h"
#include "render/gpu/ShaderInclude.h"
#include "render/gpu/shaderRegistry.h"
#include "render/platform/Direct3D.h"

#include <string_view>
//
#include <d3dcompiler.h>

namespace Render
{
std::string compileHlslResource(const std::string& name, const ShaderProfile& profile)
{
    const std::string_view source = ShaderRegistry::open(name);
    const std::string_view bytecode = ShaderRegistry::bytecode(name, profile);
    if (!bytecode.empty())
    {
        return std::string(bytecode);
    }
    ShaderInclude include;
    return compileHlsl(source, name, &include, profile);
}

std::string compileHlslFile(const std::filesystem::path& path, const ShaderProfile& profile)
{
    const std::string source = Core::readLocalFile(path, kLargestShaderFile);
    return compileHlsl(source, path.string(), D3D_COMPILE_STANDARD_FILE_INCLUDE, profile);
}
}  // namespace Render
