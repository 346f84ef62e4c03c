#include "tests/support/Nginx.h"

#include <arpa/inet.h>
#include <chrono>
#include <cstdlib>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{
constexpr int kMostTries = 5;  // another process may take the port first
constexpr std::chrono::seconds kLongestStart{10};

sockaddr_in loopback(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

int freePort()
{
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    const bool isBound = ::bind(socket, reinterpret_cast<const sockaddr*>(&address), size) == 0 &&
                         ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) == 0;
    ::close(socket);
    return isBound ? ntohs(address.sin_port) : 0;
}

bool answers(int port)
{
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    const sockaddr_in address = loopback(port);
    const bool isThere = ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(socket);
    return isThere;
}

int spawn(std::vector<std::string> words)
{
    std::vector<char*> arguments;
    for (std::string& word : words)
    {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    pid_t process = -1;
    return ::posix_spawn(&process, arguments.front(), nullptr, nullptr, arguments.data(), environ) == 0
               ? process
               : -1;
}
}  // namespace

Nginx::Nginx(const std::filesystem::path& root, Protocol protocol, const std::string& rules)
    : mProtocol(protocol)
{
    if (protocol == Protocol::Https)
    {
        const std::string place = mFolder.path().string();
        const std::string command =
            "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj "
            "/CN=localhost -addext subjectAltName=IP:127.0.0.1 -keyout " +
            place + "/key.pem -out " + place + "/certificate.pem 2>" + place + "/openssl.log";
        if (std::system(command.c_str()) != 0)
        {
            throw std::runtime_error("openssl made no certificate (scripts/install-packages.sh tests)");
        }
    }
    for (int i = 0; i < kMostTries; ++i)
    {
        if (start(root, rules))
        {
            return;
        }
    }
    throw std::runtime_error("nginx does not start (scripts/install-packages.sh tests)");
}

bool Nginx::start(const std::filesystem::path& root, const std::string& rules)
{
    mPort = freePort();
    const std::string place = mFolder.path().string();
    const bool isSecure = mProtocol == Protocol::Https;
    std::string text = "daemon off;\nmaster_process off;\npid " + place + "/pid;\nerror_log " + place +
                       "/error.log;\nevents { worker_connections 256; }\nhttp {\n";
    text += "log_format asked '$server_protocol $status $http_range $uri';\naccess_log " + place +
            "/access.log asked;\n";
    for (const char* const name : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"})
    {
        text += std::string(name) + "_temp_path " + place + "/" + name + ";\n";
    }
    text += "server {\nlisten 127.0.0.1:" + std::to_string(mPort) + (isSecure ? " ssl http2" : "") + ";\n";
    if (isSecure)
    {
        text +=
            "ssl_certificate " + place + "/certificate.pem;\nssl_certificate_key " + place + "/key.pem;\n";
    }
    text += "root " + root.string() + ";\n" + rules + "\n}\n}\n";
    const std::filesystem::path configuration = mFolder.write("nginx.conf", text);
    mProcess =
        spawn({"/usr/sbin/nginx", "-p", place, "-c", configuration.string(), "-e", place + "/error.log"});
    const auto end = std::chrono::steady_clock::now() + kLongestStart;
    while (mProcess > 0 && std::chrono::steady_clock::now() < end)
    {
        if (::waitpid(mProcess, nullptr, WNOHANG) != 0)
        {
            mProcess = -1;
            return false;
        }
        if (answers(mPort))
        {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
}

Nginx::~Nginx()
{
    if (mProcess > 0)
    {
        ::kill(mProcess, SIGTERM);
        ::waitpid(mProcess, nullptr, 0);
    }
}

std::string Nginx::url(const std::string& path) const
{
    return (mProtocol == Protocol::Https ? "https" : "http") + std::string("://127.0.0.1:") +
           std::to_string(mPort) + path;
}

std::string Nginx::accessLog() const
{
    return TemporaryFolder::read(mFolder.path() / "access.log");
}
