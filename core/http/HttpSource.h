#pragma once

#include "core/ByteSource.h"
#include "core/Export.h"
#include "core/http/HttpClient.h"
#include "core/http/HttpUrl.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace Core
{
struct HttpFile;
struct HttpJob;

/// A file of a web server that sends ranges of bytes; made by HttpClient::open().
///
/// One that answers with another ETag, time of writing or size than when the file was opened is an error that
/// says that the file was changed.
///
/// Threads  as its base says. A stop request ends a read within 10 ms.
class CORE_API HttpSource final : public ByteSource
{
public:
    /// Blocks around small reads that are kept.
    static constexpr std::size_t kMostBlocks = 32;

    /// Bytes that are expected at a time; what is above waits for its read.
    static constexpr std::size_t kMostExpectedBytes = std::size_t{32} << 20U;

    /// @param file   with its version
    /// @param begin  its first bytes
    HttpSource(
        std::shared_ptr<const HttpClient> client, std::shared_ptr<HttpFile> file, std::vector<std::byte> begin
    );
    ~HttpSource() override;

    std::string name() const override;

    std::uint64_t size() const noexcept override;

    /// The version is made of ETag, time of writing and size.
    SourceIdentity identity() const override;

    [[nodiscard]] bool read(std::span<const ByteRange> ranges, const std::stop_token& stopToken)
        const override;

    /// With Turn::First a small range is expected with the block around it.
    bool expect(std::uint64_t offset, std::size_t length, Turn turn = Turn::Behind) const noexcept override;
    void forget(std::uint64_t offset, std::size_t length) const noexcept override;

    /// What tells an address from others without showing what is secret in it.
    static std::string cacheName(const HttpUrl& url);

private:
    using Jobs = std::vector<std::shared_ptr<HttpJob>>;

    using Block = std::pair<std::uint64_t, std::vector<std::byte>>;  // where it begins

    /// One range of a read and the jobs that it waits for.
    struct Piece
    {
        ByteRange range;
        Jobs jobs;
        bool isOwned = false;  // the one job has its own memory, in which the range lies
        bool isBlock = false;  // what it has is kept
    };

    using Range = std::pair<std::uint64_t, std::size_t>;  // offset and length

    bool isNear(std::uint64_t offset, std::size_t length) const noexcept;
    std::string cacheKey(std::uint64_t offset, std::size_t length) const;
    bool readFromCache(const ByteRange& range) const;
    bool isSmall(std::size_t length) const noexcept;
    Range blockAround(std::uint64_t offset, std::size_t length) const noexcept;
    bool isInBlocks(std::uint64_t offset, std::size_t length) const noexcept;
    bool expectExactly(std::uint64_t offset, std::size_t length, Turn turn) const;
    bool readBlockFromCache(const ByteRange& range) const;
    bool readFromBlocks(const ByteRange& range) const;
    void keepBlock(std::uint64_t begin, std::vector<std::byte> bytes) const;
    std::shared_ptr<HttpJob> takeExpected(std::uint64_t offset, std::size_t length) const noexcept;
    void addJobs(Piece& piece, Jobs& added) const;
    bool finish(
        const Piece& piece, const std::stop_token& stopToken, std::chrono::steady_clock::time_point deadline
    ) const;

    const std::shared_ptr<const HttpClient> mClient;
    const std::shared_ptr<HttpFile> mFile;
    const std::vector<std::byte> mBegin;

    mutable std::mutex mMutex;  // guards the rest
    mutable std::map<Range, std::shared_ptr<HttpJob>> mExpected;
    mutable std::size_t mExpectedBytes = 0;
    mutable std::deque<Block> mBlocks;  // the latest behind
};
}  // namespace Core
