#pragma once

#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <string>

/// A real web server on the loopback interface, for one test: nginx with a configuration of its own, on a free
/// port. Not on Windows.
class Nginx
{
public:
    enum class Protocol
    {
        Http,
        Https,  ///< with HTTP/2, and a certificate that nobody trusts by himself
    };

    /// @param root   folder that it serves
    /// @param rules  lines for its server block
    /// @throws std::runtime_error  when it does not start
    explicit Nginx(
        const std::filesystem::path& root, Protocol protocol = Protocol::Http, const std::string& rules = {}
    );
    ~Nginx();
    Nginx(const Nginx&) = delete;
    Nginx& operator=(const Nginx&) = delete;

    /// The address of a path, which begins with a slash.
    std::string url(const std::string& path) const;

    /// The certificate, for those who are to trust it.
    std::filesystem::path certificate() const { return mFolder.path() / "certificate.pem"; }

    /// What it was asked for, a line each: protocol, status, range, path.
    std::string accessLog() const;

private:
    bool start(const std::filesystem::path& root, const std::string& rules);

    const TemporaryFolder mFolder;
    const Protocol mProtocol;
    int mPort = 0;
    int mProcess = -1;
};
