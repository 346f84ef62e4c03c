#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

/// A web server on the loopback interface for one test, which answers as the test says: also wrongly, late or not
/// at all.
///
/// Threads  each connection has one, which calls the handler; the other operations from any.
class HttpTestServer
{
public:
    struct Request
    {
        std::string method;
        std::string target;                          // path and query
        std::map<std::string, std::string> headers;  // names in lower case
        std::size_t number = 0;                      // of the server's requests, from 0 on

        /// First and last byte of a "Range" header.
        std::optional<std::pair<std::uint64_t, std::uint64_t>> range() const;
    };

    /// What a handler answers by.
    class Connection
    {
    public:
        /// Sends as it is; does nothing when the other side is gone.
        void send(std::string_view bytes);

        /// Waits, unless the server ends.
        void pause(std::chrono::milliseconds time);

        /// Ends the connection in an orderly way after what was sent.
        void close() { mIsOpen = false; }

        /// Breaks it off.
        void reset();

        /// Sends a head with a length, and the body.
        void respond(int status, const std::string& headers, std::string_view body);

        /// False when it was ended, the other side is gone, or the server ends.
        bool isOpen() const { return mIsOpen && !mServer.mIsEnding; }

    private:
        friend class HttpTestServer;

        Connection(HttpTestServer& server, std::uintptr_t socket) : mServer(server), mSocket(socket) {}

        HttpTestServer& mServer;
        std::uintptr_t mSocket;
        bool mIsOpen = true;
    };

    using Handler = std::function<void(const Request&, Connection&)>;

    explicit HttpTestServer(Handler handler);
    ~HttpTestServer();
    HttpTestServer(const HttpTestServer&) = delete;
    HttpTestServer& operator=(const HttpTestServer&) = delete;

    /// Answers as a good server does: the whole file, or the range that is asked for.
    static void serve(
        const Request& request,
        Connection& connection,
        std::string_view file,
        const std::string& etag = "\"1\""
    );

    /// A handler that serves files by their paths ("/a/b.bin"), each answer so much later.
    static Handler files(
        std::map<std::string, std::string> bytesOfPath, std::chrono::milliseconds delay = {}
    );

    unsigned short port() const { return mPort; }

    /// "http://127.0.0.1:PORT" and the path, which begins with a slash.
    std::string url(std::string_view path) const;

    std::vector<Request> requests() const;
    std::size_t numRequests() const;
    std::size_t numConnections() const;

private:
    void accept();
    void talk(std::uintptr_t socket);
    bool readRequest(Connection& connection, std::string& buffer, Request& request);

    const Handler mHandler;
    std::uintptr_t mListener;
    unsigned short mPort = 0;
    std::atomic<bool> mIsEnding{false};

    mutable std::mutex mMutex;  // guards the rest
    std::vector<Request> mRequests;
    std::vector<std::thread> mTalks;
    std::thread mAccepting;
};
