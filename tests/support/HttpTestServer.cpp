#include "tests/support/HttpTestServer.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <winsock2.h>
#else
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

namespace
{
constexpr std::chrono::milliseconds kLook{5};

#if defined(_WIN32)
using Length = int;
using Poll = WSAPOLLFD;

SOCKET native(std::uintptr_t socket)
{
    return static_cast<SOCKET>(socket);
}

void closeSocket(std::uintptr_t socket)
{
    ::closesocket(native(socket));
}

bool isReadable(std::uintptr_t socket)
{
    fd_set set;
    FD_ZERO(&set);
    FD_SET(native(socket), &set);
    timeval wait{0, static_cast<long>(kLook.count() * 1000)};
    return ::select(0, &set, nullptr, nullptr, &wait) > 0;
}

void startSockets()
{
    static const bool isStarted = []
    {
        WSADATA data;
        return ::WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }();
    if (!isStarted)
    {
        throw std::runtime_error("no sockets");
    }
}
#else
using Length = std::size_t;

int native(std::uintptr_t socket)
{
    return static_cast<int>(socket);
}

void closeSocket(std::uintptr_t socket)
{
    ::close(native(socket));
}

bool isReadable(std::uintptr_t socket)
{
    pollfd one{native(socket), POLLIN, 0};
    return ::poll(&one, 1, static_cast<int>(kLook.count())) > 0;
}

void startSockets() {}
#endif

std::string lower(std::string_view text)
{
    std::string result(text);
    std::ranges::transform(
        result,
        result.begin(),
        [](char letter)
        { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter; }
    );
    return result;
}
}  // namespace

std::optional<std::pair<std::uint64_t, std::uint64_t>> HttpTestServer::Request::range() const
{
    const auto found = headers.find("range");
    constexpr std::string_view kUnit = "bytes=";
    if (found == headers.end() || !found->second.starts_with(kUnit))
    {
        return std::nullopt;
    }
    const char* const begin = found->second.data() + kUnit.size();
    const char* const end = found->second.data() + found->second.size();
    std::pair<std::uint64_t, std::uint64_t> range;
    const char* const dash = std::from_chars(begin, end, range.first).ptr;
    if (dash == end || std::from_chars(dash + 1, end, range.second).ec != std::errc())
    {
        return std::nullopt;
    }
    return range;
}

void HttpTestServer::Connection::send(std::string_view bytes)
{
    while (!bytes.empty() && mIsOpen && !mServer.mIsEnding)
    {
#if defined(_WIN32)
        constexpr int kFlags = 0;
#else
        constexpr int kFlags = MSG_NOSIGNAL;
#endif
        const auto sent = ::send(native(mSocket), bytes.data(), static_cast<Length>(bytes.size()), kFlags);
        if (sent <= 0)
        {
            mIsOpen = false;
            return;
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

void HttpTestServer::Connection::pause(std::chrono::milliseconds time)
{
    const auto end = std::chrono::steady_clock::now() + time;
    while (!mServer.mIsEnding)
    {
        const auto left = end - std::chrono::steady_clock::now();
        if (left <= std::chrono::steady_clock::duration::zero())
        {
            return;
        }
        std::this_thread::sleep_for(std::min<std::chrono::steady_clock::duration>(left, kLook));
    }
}

void HttpTestServer::Connection::reset()
{
    const linger atOnce{1, 0};
    ::setsockopt(
        native(mSocket), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&atOnce), sizeof atOnce
    );
    mIsOpen = false;
}

void HttpTestServer::Connection::respond(int status, const std::string& headers, std::string_view body)
{
    std::string answer = "HTTP/1.1 " + std::to_string(status) + " Said by a test\r\n" + headers +
                         "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n";
    answer += body;
    send(answer);
}

HttpTestServer::HttpTestServer(Handler handler) : mHandler(std::move(handler)), mListener(0)
{
    startSockets();
    const auto listener = ::socket(AF_INET, SOCK_STREAM, 0);
    mListener = static_cast<std::uintptr_t>(listener);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* const plain = reinterpret_cast<sockaddr*>(&address);
#if defined(_WIN32)
    int size = sizeof address;
#else
    socklen_t size = sizeof address;
#endif
    constexpr int kWaiting = 64;
    if (::bind(listener, plain, size) != 0 || ::listen(listener, kWaiting) != 0 ||
        ::getsockname(listener, plain, &size) != 0)
    {
        throw std::runtime_error("cannot listen on the loopback interface");
    }
    mPort = ntohs(address.sin_port);
    mAccepting = std::thread([this] { accept(); });
}

HttpTestServer::~HttpTestServer()
{
    mIsEnding = true;
    mAccepting.join();
    for (std::thread& talk : mTalks)
    {
        talk.join();
    }
    closeSocket(mListener);
}

void HttpTestServer::accept()
{
    while (!mIsEnding)
    {
        if (!isReadable(mListener))
        {
            continue;
        }
        const auto socket = ::accept(native(mListener), nullptr, nullptr);
        const auto plain = static_cast<std::uintptr_t>(socket);
        const int isOn = 1;
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&isOn), sizeof isOn);
        const std::scoped_lock lock(mMutex);
        mTalks.emplace_back([this, plain] { talk(plain); });
    }
}

bool HttpTestServer::readRequest(Connection& connection, std::string& buffer, Request& request)
{
    std::size_t end = 0;
    while ((end = buffer.find("\r\n\r\n")) == std::string::npos)
    {
        if (mIsEnding)
        {
            return false;
        }
        if (!isReadable(connection.mSocket))
        {
            continue;
        }
        char bytes[4096];
        const auto count = ::recv(native(connection.mSocket), bytes, static_cast<Length>(sizeof bytes), 0);
        if (count <= 0)
        {
            return false;
        }
        buffer.append(bytes, static_cast<std::size_t>(count));
    }
    std::string_view head = std::string_view(buffer).substr(0, end + 2);
    const std::size_t lineEnd = head.find("\r\n");
    const std::string_view first = head.substr(0, lineEnd);
    const std::size_t blank = first.find(' ');
    request.method = first.substr(0, blank);
    request.target = first.substr(blank + 1, first.rfind(' ') - blank - 1);
    head.remove_prefix(lineEnd + 2);
    while (!head.empty())
    {
        const std::string_view line = head.substr(0, head.find("\r\n"));
        const std::size_t colon = line.find(": ");
        request.headers[lower(line.substr(0, colon))] = line.substr(colon + 2);
        head.remove_prefix(line.size() + 2);
    }
    buffer.erase(0, end + 4);
    const std::scoped_lock lock(mMutex);
    request.number = mRequests.size();
    mRequests.push_back(request);
    return true;
}

void HttpTestServer::talk(std::uintptr_t socket)
{
    Connection connection(*this, socket);
    std::string buffer;
    while (connection.mIsOpen)
    {
        Request request;
        if (!readRequest(connection, buffer, request))
        {
            break;
        }
        mHandler(request, connection);
    }
    closeSocket(socket);
}

void HttpTestServer::serve(
    const Request& request, Connection& connection, std::string_view file, const std::string& etag
)
{
    const std::string version = "ETag: " + etag + "\r\n";
    const auto range = request.range();
    if (!range)
    {
        connection.respond(200, version, file);
    }
    else if (range->first >= file.size())
    {
        connection.respond(
            416, version + "Content-Range: bytes */" + std::to_string(file.size()) + "\r\n", ""
        );
    }
    else
    {
        const std::uint64_t last = std::min<std::uint64_t>(range->second, file.size() - 1);
        connection.respond(
            206,
            version + "Content-Range: bytes " + std::to_string(range->first) + "-" + std::to_string(last) +
                "/" + std::to_string(file.size()) + "\r\n",
            file.substr(range->first, last + 1 - range->first)
        );
    }
}

HttpTestServer::Handler HttpTestServer::files(
    std::map<std::string, std::string> bytesOfPath, std::chrono::milliseconds delay
)
{
    return [files = std::move(bytesOfPath), delay](const Request& request, Connection& connection)
    {
        connection.pause(delay);
        const auto found = files.find(request.target);
        if (found == files.end())
        {
            connection.respond(404, "", "there is no such file");
        }
        else
        {
            serve(request, connection, found->second);
        }
    };
}

std::string HttpTestServer::url(std::string_view path) const
{
    return "http://127.0.0.1:" + std::to_string(mPort) + std::string(path);
}

std::vector<HttpTestServer::Request> HttpTestServer::requests() const
{
    const std::scoped_lock lock(mMutex);
    return mRequests;
}

std::size_t HttpTestServer::numRequests() const
{
    const std::scoped_lock lock(mMutex);
    return mRequests.size();
}

std::size_t HttpTestServer::numConnections() const
{
    const std::scoped_lock lock(mMutex);
    return mTalks.size();
}
