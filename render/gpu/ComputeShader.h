#pragma once

#include "render/Export.h"
#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

#include <filesystem>
#include <string>

namespace Render
{
/// Owns a compute shader; the entry point of its source is "cs_main".
///
/// Threads  the factories on any thread, begin and end on that of the immediate context.
class RENDER_API ComputeShader
{
public:
    /// Empty: begin sets no shader.
    ComputeShader() = default;

    /// Compiles an embedded source; warnings are errors.
    /// @param name  path in the registry, such as "shaders/mesh.hlsl"
    /// @throws std::system_error   when the registry has no file of this name
    /// @throws std::runtime_error  "Error: Compilation of hlsl shader failed\n" and the compiler's messages
    /// @throws ComException        when the device refuses the shader
    static ComputeShader fromHlslResource(const CComPtr<ID3D11Device>& device, const std::string& name);

    /// Compiles a file, whose include lines are relative to its folder; fails as fromHlslResource does.
    /// @throws std::runtime_error  naming the path when it cannot be read
    static ComputeShader fromHlslFile(const CComPtr<ID3D11Device>& device, const std::filesystem::path& path);

    /// From bytecode in the registry.
    /// @throws std::system_error  when the registry has no file of this name
    /// @throws ComException       when the device refuses the shader
    static ComputeShader fromCsoResource(const CComPtr<ID3D11Device>& device, const std::string& name);

    /// From bytecode in a file.
    /// @throws std::runtime_error  naming the path when it cannot be read
    /// @throws ComException        when the device refuses the shader
    static ComputeShader fromCsoFile(const CComPtr<ID3D11Device>& device, const std::filesystem::path& path);

    /// From bytecode in memory.
    /// @throws ComException  when the device refuses the shader
    static ComputeShader fromCsoString(const CComPtr<ID3D11Device>& device, const std::string& bytes);

    ComputeShader(const ComputeShader&) = delete;
    ComputeShader& operator=(const ComputeShader&) = delete;
    ComputeShader(ComputeShader&&) noexcept = default;
    ComputeShader& operator=(ComputeShader&&) noexcept = default;
    ~ComputeShader() = default;

    /// Sets the shader on its stage.
    void begin(ID3D11DeviceContext* context) const;

    /// Leaves the stage without a shader.
    void end(ID3D11DeviceContext* context) const;

private:
    explicit ComputeShader(ID3D11ComputeShader* shader);

    CComPtr<ID3D11ComputeShader> mShader;
};
}  // namespace Render
