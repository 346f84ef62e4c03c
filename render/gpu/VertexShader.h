#pragma once

#include "render/Export.h"
#include "render/gpu/StageShader.h"
#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

#include <filesystem>
#include <string>
#include <vector>

namespace Render
{
/// Owns a vertex shader and the layout of the vertices that it reads; the entry point of its source is
/// "vs_main".
///
/// An empty layout is for shaders that read no vertex buffer; no input layout is made then.
/// Threads  the factories on any thread, begin and end on that of the immediate context.
class RENDER_API VertexShader
{
public:
    /// The inputs of a vertex.
    using Layout = std::vector<D3D11_INPUT_ELEMENT_DESC>;

    /// Empty: begin sets no shader.
    VertexShader() = default;

    /// Compiles an embedded source; warnings are errors.
    /// @param name  path in the registry, such as "shaders/mesh.hlsl"
    /// @throws std::system_error   when the registry has no file of this name
    /// @throws std::runtime_error  "Error: Compilation of hlsl shader failed\n" and the compiler's messages
    /// @throws ComException        when the device refuses the shader or the layout
    static VertexShader fromHlslResource(
        const CComPtr<ID3D11Device>& device, const std::string& name, const Layout& layout
    );

    /// Compiles a file, whose include lines are relative to its folder; fails as fromHlslResource does.
    /// @throws std::runtime_error  naming the path when it cannot be read
    static VertexShader fromHlslFile(
        const CComPtr<ID3D11Device>& device, const std::filesystem::path& path, const Layout& layout
    );

    /// From bytecode in the registry.
    /// @throws std::system_error  when the registry has no file of this name
    /// @throws ComException       when the device refuses the shader or the layout
    static VertexShader fromCsoResource(
        const CComPtr<ID3D11Device>& device, const std::string& name, const Layout& layout
    );

    /// From bytecode in a file.
    /// @throws std::runtime_error  naming the path when it cannot be read
    /// @throws ComException        when the device refuses the shader or the layout
    static VertexShader fromCsoFile(
        const CComPtr<ID3D11Device>& device, const std::filesystem::path& path, const Layout& layout
    );

    /// From bytecode in memory.
    /// @throws ComException  when the device refuses the shader or the layout
    static VertexShader fromCsoString(
        const CComPtr<ID3D11Device>& device, const std::string& bytes, const Layout& layout
    );

    VertexShader(const VertexShader&) = delete;
    VertexShader& operator=(const VertexShader&) = delete;
    VertexShader(VertexShader&&) noexcept = default;
    VertexShader& operator=(VertexShader&&) noexcept = default;
    ~VertexShader() = default;

    /// Sets the input layout, if there is one, and the shader.
    void begin(ID3D11DeviceContext* context) const;

    /// Leaves the context without input layout and vertex shader.
    void end(ID3D11DeviceContext* context) const;

private:
    VertexShader(
        const CComPtr<ID3D11Device>& device,
        const std::string& bytes,
        const Layout& layout,
        const std::string& debugName
    );

    StageShader<ID3D11VertexShader> mShader;
    CComPtr<ID3D11InputLayout> mInputLayout;
};
}  // namespace Render
