#include "core/http/CurlLibrary.h"

#include <stdexcept>
#include <string>

#if !defined(_WIN32)
#include <dlfcn.h>
#endif

namespace Core
{
namespace
{
#if defined(_WIN32)
CurlLibrary load()
{
    ::curl_global_init(CURL_GLOBAL_DEFAULT);
    return {
        &::curl_easy_init,
        &::curl_easy_cleanup,
        &::curl_easy_setopt,
        &::curl_easy_getinfo,
        &::curl_easy_strerror,
        &::curl_multi_init,
        &::curl_multi_cleanup,
        &::curl_multi_setopt,
        &::curl_multi_add_handle,
        &::curl_multi_remove_handle,
        &::curl_multi_perform,
        &::curl_multi_poll,
        &::curl_multi_wakeup,
        &::curl_multi_info_read,
        &::curl_slist_append,
        &::curl_slist_free_all,
    };
}
#else
[[noreturn]] void fail(const std::string& reason)
{
    throw std::runtime_error(
        "Error: cannot read from the network: " + reason + ", expected libcurl.so.4 of version 7.68 or newer"
    );
}

template <class Function>
void find(void* library, const char* name, Function& function)
{
    function = reinterpret_cast<Function>(::dlsym(library, name));
    if (function == nullptr)
    {
        fail(std::string("libcurl has no ") + name);
    }
}

/// It stays loaded: it has threads and callbacks of its own.
CurlLibrary load()
{
    void* library = nullptr;
    for (const char* const name : {"libcurl.so.4", "libcurl-gnutls.so.4"})
    {
        library = library == nullptr ? ::dlopen(name, RTLD_NOW | RTLD_LOCAL) : library;
    }
    if (library == nullptr)
    {
        const char* const reason = ::dlerror();
        fail(reason != nullptr ? reason : "libcurl cannot be loaded");
    }
    CurlLibrary curl{};
    find(library, "curl_easy_init", curl.easyInit);
    find(library, "curl_easy_cleanup", curl.easyCleanup);
    find(library, "curl_easy_setopt", curl.easySetopt);
    find(library, "curl_easy_getinfo", curl.easyGetinfo);
    find(library, "curl_easy_strerror", curl.easyStrerror);
    find(library, "curl_multi_init", curl.multiInit);
    find(library, "curl_multi_cleanup", curl.multiCleanup);
    find(library, "curl_multi_setopt", curl.multiSetopt);
    find(library, "curl_multi_add_handle", curl.multiAddHandle);
    find(library, "curl_multi_remove_handle", curl.multiRemoveHandle);
    find(library, "curl_multi_perform", curl.multiPerform);
    find(library, "curl_multi_poll", curl.multiPoll);
    find(library, "curl_multi_wakeup", curl.multiWakeup);
    find(library, "curl_multi_info_read", curl.multiInfoRead);
    find(library, "curl_slist_append", curl.slistAppend);
    find(library, "curl_slist_free_all", curl.slistFreeAll);
    decltype(&::curl_global_init) globalInit = nullptr;
    find(library, "curl_global_init", globalInit);
    globalInit(CURL_GLOBAL_DEFAULT);
    return curl;
}
#endif
}  // namespace

const CurlLibrary& CurlLibrary::get()
{
    static const CurlLibrary library = load();
    return library;
}
}  // namespace Core
