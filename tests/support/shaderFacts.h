#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// One value that a shader takes or gives.
struct ShaderSignatureElement
{
    std::string name;  ///< in upper case
    std::uint32_t index = 0;
    std::uint32_t systemValue = 0;    ///< 0 for those that are none
    std::uint32_t componentType = 0;  ///< 1 unsigned, 2 signed, 3 float
    std::uint32_t slot = 0;
    std::uint8_t mask = 0;
    std::uint8_t usedMask = 0;  ///< of inputs: which components are read
};

/// One object that a shader needs.
struct ShaderBinding
{
    enum class Kind
    {
        ConstantBuffer,
        Sampler,
        View,     ///< typed
        RawView,  ///< of a buffer
        StructuredView,
        Uav,  ///< typed
        RawUav,
        StructuredUav
    };

    Kind kind = Kind::View;
    std::uint32_t slot = 0;
    std::uint32_t size = 0;       ///< bytes of a constant buffer or of a structure
    std::uint32_t dimension = 0;  ///< of typed views: 1 buffer, 2 texture 1D, 3 texture 2D, ...
};

/// What a shader's bytecode declares.
struct ShaderFacts
{
    std::vector<ShaderSignatureElement> inputs;
    std::vector<ShaderSignatureElement> outputs;
    std::vector<ShaderBinding> bindings;
};

/// Reads the signatures and declarations of a shader of model 4 or 5; of other bytes, nothing.
ShaderFacts shaderFacts(std::span<const std::byte> bytecode);
