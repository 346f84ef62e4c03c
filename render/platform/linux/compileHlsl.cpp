#include "render/platform/compileHlsl.h"

#include "render/platform/Direct3D.h"
#include "render/platform/linux/HlslFileInclude.h"
#include "render/platform/linux/IHlslInclude.h"
#include "render/platform/linux/compileByVkd3d.h"
//
#include <d3dcompiler.h>

namespace Render
{
namespace
{
/// A host's own way to find files.
class HostInclude final : public IHlslInclude
{
public:
    explicit HostInclude(ID3DInclude& include) : mInclude(include) {}

    std::optional<std::string_view> open(const char* name, bool isLocal, const void* parent) override
    {
        const void* data = nullptr;
        UINT size = 0;
        const D3D_INCLUDE_TYPE type = isLocal ? D3D_INCLUDE_LOCAL : D3D_INCLUDE_SYSTEM;
        if (FAILED(mInclude.Open(type, name, parent, &data, &size)))
        {
            return std::nullopt;
        }
        return std::string_view(static_cast<const char*>(data), size);
    }

    void close(const void* data) override { mInclude.Close(data); }

private:
    ID3DInclude& mInclude;
};
}  // namespace

std::string compileHlsl(
    std::string_view source, const std::string& sourceName, ID3DInclude* include, const ShaderProfile& profile
)
{
    if (include == nullptr)
    {
        return compileByVkd3d(source, sourceName, nullptr, profile);
    }
    if (include == D3D_COMPILE_STANDARD_FILE_INCLUDE)
    {
        HlslFileInclude files(sourceName);
        return compileByVkd3d(source, sourceName, &files, profile);
    }
    HostInclude host(*include);
    return compileByVkd3d(source, sourceName, &host, profile);
}
}  // namespace Render
