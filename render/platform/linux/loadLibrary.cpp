#include "render/platform/linux/loadLibrary.h"

#include <dlfcn.h>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace Render
{
namespace
{
/// The folder of the library or program that this function was linked into.
std::filesystem::path ownFolder()
{
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&loadLibrary), &info) == 0 || info.dli_fname == nullptr)
    {
        return {};
    }
    std::error_code error;
    const std::filesystem::path file = std::filesystem::canonical(info.dli_fname, error);
    return error ? std::filesystem::path{} : file.parent_path();
}
}  // namespace

void* loadLibrary(const char* name, const char* hint)
{
    // By full paths first: the run path of this library is not asked when a sanitizer stands before dlopen.
    const std::filesystem::path folder = ownFolder();
    for (const std::filesystem::path& path : {folder / name, folder.parent_path() / "lib" / name})
    {
        std::error_code error;
        if (!folder.empty() && std::filesystem::exists(path, error))
        {
            if (void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL))
            {
                return library;
            }
            throw std::runtime_error(std::string(name) + " cannot be loaded: " + dlerror() + "; " + hint);
        }
    }
    if (void* const library = dlopen(name, RTLD_NOW | RTLD_LOCAL))
    {
        return library;
    }
    const char* const reason = dlerror();
    throw std::runtime_error(
        std::string(name) + " cannot be loaded: " + (reason == nullptr ? "unknown reason" : reason) + "; " +
        hint
    );
}

void* findSymbol(void* library, const char* name)
{
    return dlsym(library, name);
}
}  // namespace Render
