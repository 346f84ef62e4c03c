#pragma once

#include "core/Export.h"

#include <string>
#include <string_view>

namespace Core
{
/// The address of something on a web server: http or https, a host, a path, and perhaps a query.
///
/// Two things in an address can be secret: a user and a password before the host, and the values of a query,
/// such as the signature by which an object store lends a file. shown() has neither.
///
/// Threads  a plain value.
class CORE_API HttpUrl
{
public:
    /// True for what begins with "http://" or "https://", in whatever case.
    static bool isUrl(std::string_view text) noexcept;

    /// @param text  characters that need it are encoded, what is encoded already stays; a fragment is dropped
    /// @throws std::runtime_error  naming the address without what is secret, when it is none
    explicit HttpUrl(std::string_view text);

    /// As it goes to the server: without user, password and fragment.
    std::string address() const { return origin() + mPath + mQuery; }

    /// Scheme, host and port: "https://example.org:443". What is meant for one origin is not for another.
    std::string origin() const;

    /// True for https.
    bool isSecure() const noexcept { return mScheme == "https"; }

    /// User and password as they stand in the address, decoded; both empty where there are none.
    const std::string& user() const noexcept { return mUser; }

    /// See user().
    const std::string& password() const noexcept { return mPassword; }

    /// For messages: without user, password and the values of the query, "***" stands for them.
    std::string shown() const;

    /// The query with its question mark; empty where there is none.
    const std::string& query() const noexcept { return mQuery; }

    /// A file below this address, which is taken for a folder; the query stays.
    /// @param file  steps separated by "/", UTF-8, not encoded
    HttpUrl file(std::string_view file) const;

    /// The folder of this address, and what it is called there; the query stays.
    HttpUrl folder() const;

    /// True for one that ends with a slash, so that it can be no file's.
    bool isFolder() const noexcept { return mPath.ends_with('/'); }

    /// The last step of the path, decoded; empty where there is none.
    std::string lastStep() const;

    /// The same without user and password.
    HttpUrl withoutCredentials() const;

    /// The same with the user and password of another one.
    HttpUrl withCredentialsOf(const HttpUrl& other) const;

    /// True when all is the same.
    friend bool operator==(const HttpUrl&, const HttpUrl&) = default;

private:
    std::string mScheme;
    std::string mUser;
    std::string mPassword;
    std::string mHost;  // with brackets where it is an IPv6 address
    std::string mPort;
    std::string mPath;   // encoded, begins with a slash
    std::string mQuery;  // encoded, with its question mark, or empty
};
}  // namespace Core
