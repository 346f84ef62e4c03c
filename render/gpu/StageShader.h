#pragma once

#include "render/Export.h"
#include "render/Render.h"
#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

#include <filesystem>
#include <string>

namespace Render
{
/// Owns a shader of one stage. The entry point of its source is "vs_main", "gs_main", "ps_main" or
/// "cs_main". VertexShader adds the layout of what it reads.
///
/// Threads  the factories on any thread, begin and end on that of the immediate context.
/// @tparam Interface  of the stage's shaders: ID3D11PixelShader and its like
template <class Interface>
class RENDER_API StageShader
{
public:
    /// Empty: begin sets no shader.
    StageShader() = default;

    /// Compiles an embedded source; warnings are errors.
    /// @param name  path in the registry, such as "shaders/mesh.hlsl"
    /// @throws std::system_error   when the registry has no file of this name
    /// @throws std::runtime_error  "Error: Compilation of hlsl shader failed\n" and the compiler's messages
    /// @throws ComException        when the device refuses the shader
    static StageShader fromHlslResource(const CComPtr<ID3D11Device>& device, const std::string& name);

    /// Compiles a file, whose include lines are relative to its folder; fails as fromHlslResource does.
    /// @throws std::runtime_error  naming the path when it cannot be read
    static StageShader fromHlslFile(const CComPtr<ID3D11Device>& device, const std::filesystem::path& path);

    /// From bytecode in the registry.
    /// @throws std::system_error  when the registry has no file of this name
    /// @throws ComException       when the device refuses the shader
    static StageShader fromCsoResource(const CComPtr<ID3D11Device>& device, const std::string& name);

    /// From bytecode in a file.
    /// @throws std::runtime_error  naming the path when it cannot be read
    /// @throws ComException        when the device refuses the shader
    static StageShader fromCsoFile(const CComPtr<ID3D11Device>& device, const std::filesystem::path& path);

    /// From bytecode in memory.
    /// @throws ComException  when the device refuses the shader
    static StageShader fromCsoString(const CComPtr<ID3D11Device>& device, const std::string& bytes);

    StageShader(const StageShader&) = delete;
    StageShader& operator=(const StageShader&) = delete;
    StageShader(StageShader&&) noexcept = default;
    StageShader& operator=(StageShader&&) noexcept = default;
    ~StageShader() = default;

    /// Sets the shader on its stage.
    void begin(ID3D11DeviceContext* context) const;

    /// Leaves the stage without a shader.
    void end(ID3D11DeviceContext* context) const;

    /// The object of Direct3D; null when there is none.
    Interface* get() const noexcept { return mShader; }

private:
    CComPtr<Interface> mShader;
};
}  // namespace Render
