#include "tests/support/shaderFacts.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace
{
using Bytes = std::span<const std::byte>;

std::uint32_t numberAt(Bytes bytes, std::size_t offset)
{
    std::uint32_t value = 0;
    if (bytes.size() >= sizeof value && offset <= bytes.size() - sizeof value)
    {
        std::memcpy(&value, bytes.data() + offset, sizeof value);
    }
    return value;
}

constexpr std::uint32_t tag(const char (&name)[5])
{
    std::uint32_t value = 0;
    for (int i = 3; i >= 0; --i)
    {
        value = value << 8U | static_cast<unsigned char>(name[i]);
    }
    return value;
}

std::string upperCaseTextAt(Bytes bytes, std::size_t offset)
{
    std::string text;
    for (; offset < bytes.size() && bytes[offset] != std::byte{0}; ++offset)
    {
        text += static_cast<char>(std::toupper(static_cast<unsigned char>(bytes[offset])));
    }
    return text;
}

/// @param skipped  bytes before what all kinds of elements have in common
std::vector<ShaderSignatureElement> signatureOf(Bytes chunk, std::size_t skipped)
{
    constexpr std::size_t kHeader = 8;
    const std::size_t stride = 24 + skipped;
    std::vector<ShaderSignatureElement> elements;
    for (std::uint32_t i = 0; i < numberAt(chunk, 0); ++i)
    {
        const std::size_t at = kHeader + i * stride + skipped;
        if (at + 24 > chunk.size())
        {
            break;
        }
        const std::uint32_t masks = numberAt(chunk, at + 20);
        elements.push_back(
            {upperCaseTextAt(chunk, numberAt(chunk, at)),
             numberAt(chunk, at + 4),
             numberAt(chunk, at + 8),
             numberAt(chunk, at + 12),
             numberAt(chunk, at + 16),
             static_cast<std::uint8_t>(masks & 0xFFU),
             static_cast<std::uint8_t>(masks >> 8U & 0xFFU)}
        );
    }
    return elements;
}

/// The declarations among the instructions of a program.
std::vector<ShaderBinding> bindingsOf(Bytes program)
{
    using Kind = ShaderBinding::Kind;
    constexpr std::uint32_t kCustomData = 53;
    constexpr std::size_t kWord = 4;
    std::vector<ShaderBinding> bindings;
    std::size_t at = 2 * kWord;  // after version and length
    while (at + kWord <= program.size())
    {
        const std::uint32_t token = numberAt(program, at);
        const std::uint32_t opcode = token & 0x7FFU;
        const std::uint32_t words =
            opcode == kCustomData ? numberAt(program, at + kWord) : token >> 24U & 0x7FU;
        if (words == 0)
        {
            break;
        }
        const std::uint32_t slot = numberAt(program, at + 2 * kWord);
        const std::uint32_t last = numberAt(program, at + 3 * kWord);
        const std::uint32_t dimension = token >> 11U & 0x1FU;
        switch (opcode)
        {
            case 88:
                bindings.push_back({Kind::View, slot, 0, dimension});
                break;
            case 89:
                bindings.push_back({Kind::ConstantBuffer, slot, last * 16, 0});
                break;
            case 90:
                bindings.push_back({Kind::Sampler, slot, 0, 0});
                break;
            case 156:
                bindings.push_back({Kind::Uav, slot, 0, dimension});
                break;
            case 157:
                bindings.push_back({Kind::RawUav, slot, 0, 0});
                break;
            case 158:
                bindings.push_back({Kind::StructuredUav, slot, last, 0});
                break;
            case 161:
                bindings.push_back({Kind::RawView, slot, 0, 0});
                break;
            case 162:
                bindings.push_back({Kind::StructuredView, slot, last, 0});
                break;
            default:
                break;
        }
        at += words * kWord;
    }
    return bindings;
}
}  // namespace

ShaderFacts shaderFacts(std::span<const std::byte> bytecode)
{
    ShaderFacts facts;
    constexpr std::size_t kOffsets = 32;
    if (numberAt(bytecode, 0) != tag("DXBC"))
    {
        return facts;
    }
    for (std::uint32_t i = 0; i < std::min(numberAt(bytecode, 28), 64U); ++i)
    {
        const std::size_t at = numberAt(bytecode, kOffsets + 4 * std::size_t{i});
        const std::size_t size = numberAt(bytecode, at + 4);
        if (at + 8 > bytecode.size() || size > bytecode.size() - at - 8)
        {
            continue;
        }
        const Bytes chunk = bytecode.subspan(at + 8, size);
        switch (numberAt(bytecode, at))
        {
            case tag("ISGN"):
                facts.inputs = signatureOf(chunk, 0);
                break;
            case tag("OSGN"):
                facts.outputs = signatureOf(chunk, 0);
                break;
            case tag("OSG5"):
                facts.outputs = signatureOf(chunk, 4);
                break;
            case tag("SHDR"):
            case tag("SHEX"):
                facts.bindings = bindingsOf(chunk);
                break;
            default:
                break;
        }
    }
    return facts;
}
