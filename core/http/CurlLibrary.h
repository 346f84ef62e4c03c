#pragma once

#include <curl/curl.h>

namespace Core
{
/// The functions of libcurl that are used.
///
/// On Windows it is a part of our library. Elsewhere it is the system's, and loaded when the first web address
/// is met: with all that it brings along it would cost every process ten milliseconds.
///
/// Threads  any; each function as libcurl says.
struct CurlLibrary
{
    decltype(&::curl_easy_init) easyInit;
    decltype(&::curl_easy_cleanup) easyCleanup;
    decltype(&::curl_easy_setopt) easySetopt;
    decltype(&::curl_easy_getinfo) easyGetinfo;
    decltype(&::curl_easy_strerror) easyStrerror;
    decltype(&::curl_multi_init) multiInit;
    decltype(&::curl_multi_cleanup) multiCleanup;
    decltype(&::curl_multi_setopt) multiSetopt;
    decltype(&::curl_multi_add_handle) multiAddHandle;
    decltype(&::curl_multi_remove_handle) multiRemoveHandle;
    decltype(&::curl_multi_perform) multiPerform;
    decltype(&::curl_multi_poll) multiPoll;
    decltype(&::curl_multi_wakeup) multiWakeup;
    decltype(&::curl_multi_info_read) multiInfoRead;
    decltype(&::curl_slist_append) slistAppend;
    decltype(&::curl_slist_free_all) slistFreeAll;

    /// The process's.
    /// @throws std::runtime_error  when it cannot be loaded or is too old
    static const CurlLibrary& get();
};
}  // namespace Core
