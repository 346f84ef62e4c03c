# Run by tarnel_embed_files at build time; see there for the variables.
string(REPLACE "|" ";" files "${FILES}")
set(arrays "")
set(table "")
set(index 0)
foreach(path ${files})
    file(READ ${ROOT}/${path} hex HEX)
    string(LENGTH "${hex}" digits)
    math(EXPR size "${digits} / 2")
    # Octets as numbers: string literals have a length limit on some compilers.
    string(REGEX REPLACE "(..)" "0x\\1, " octets "${hex}")
    string(REGEX REPLACE "((0x.., ){16})" "\\1\n    " octets "${octets}")
    string(APPEND arrays "constexpr unsigned char kFile${index}[] = {\n    ${octets}0x00\n};\n")
    string(APPEND table "        {\"${path}\", text(kFile${index}, ${size})},\n")
    math(EXPR index "${index} + 1")
endforeach()
file(
    WRITE ${OUTPUT}
    "// Written by the build; do not edit.
#include \"${HEADER}\"

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

namespace
{
${arrays}
std::string_view text(const unsigned char* bytes, std::size_t size)
{
    return {reinterpret_cast<const char*>(bytes), size};
}
}

std::span<const ${NAMESPACE}::EmbeddedFile> ${NAMESPACE}::${FUNCTION}()
{
    static const std::array<${NAMESPACE}::EmbeddedFile, ${index}> files{{
${table}    }};
    return files;
}
"
)
