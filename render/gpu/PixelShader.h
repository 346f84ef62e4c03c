#pragma once

#include "render/Export.h"
#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

#include <filesystem>
#include <string>

namespace Render
{
/// Owns a pixel shader; the entry point of its source is "ps_main".
///
/// Threads  the factories on any thread, begin and end on that of the immediate context.
class RENDER_API PixelShader
{
public:
    /// Empty: begin sets no shader.
    PixelShader() = default;

    /// Compiles an embedded source; warnings are errors.
    /// @param name  path in the registry, such as "shaders/mesh.hlsl"
    /// @throws std::system_error   when the registry has no file of this name
    /// @throws std::runtime_error  "Error: Compilation of hlsl shader failed\n" and the compiler's messages
    /// @throws ComException        when the device refuses the shader
    static PixelShader fromHlslResource(const CComPtr<ID3D11Device>& device, const std::string& name);

    /// Compiles a file, whose include lines are relative to its folder; fails as fromHlslResource does.
    /// @throws std::runtime_error  naming the path when it cannot be read
    static PixelShader fromHlslFile(const CComPtr<ID3D11Device>& device, const std::filesystem::path& path);

    /// From bytecode in the registry.
    /// @throws std::system_error  when the registry has no file of this name
    /// @throws ComException       when the device refuses the shader
    static PixelShader fromCsoResource(const CComPtr<ID3D11Device>& device, const std::string& name);

    /// From bytecode in a file.
    /// @throws std::runtime_error  naming the path when it cannot be read
    /// @throws ComException        when the device refuses the shader
    static PixelShader fromCsoFile(const CComPtr<ID3D11Device>& device, const std::filesystem::path& path);

    /// From bytecode in memory.
    /// @throws ComException  when the device refuses the shader
    static PixelShader fromCsoString(const CComPtr<ID3D11Device>& device, const std::string& bytes);

    PixelShader(const PixelShader&) = delete;
    PixelShader& operator=(const PixelShader&) = delete;
    PixelShader(PixelShader&&) noexcept = default;
    PixelShader& operator=(PixelShader&&) noexcept = default;
    ~PixelShader() = default;

    /// Sets the shader on its stage.
    void begin(ID3D11DeviceContext* context) const;

    /// Leaves the stage without a shader.
    void end(ID3D11DeviceContext* context) const;

private:
    explicit PixelShader(ID3D11PixelShader* shader);

    CComPtr<ID3D11PixelShader> mShader;
};
}  // namespace Render
