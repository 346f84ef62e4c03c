#pragma once

#include "core/ByteFolder.h"
#include "core/Export.h"
#include "core/http/HttpClient.h"
#include "core/http/HttpUrl.h"

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <string_view>

namespace Core
{
class HttpOpening;

/// The files below an address. Servers tell of files alone, not of folders.
///
/// Threads  as its base says.
class CORE_API HttpFolder final : public ByteFolder
{
public:
    /// Expected openings that are on their way, or done and not yet taken, at a time; more wait.
    static constexpr std::size_t kMostExpected = 64;

    /// The same of those with Turn::First, of which no more wait: who expects them says so again.
    static constexpr std::size_t kMostFirst = 32;

    /// @param client  not null
    HttpFolder(std::shared_ptr<const HttpClient> client, HttpUrl url);
    ~HttpFolder() override;

    std::string name() const override;
    std::string nameOf(std::string_view file) const override;
    std::string title() const override;
    std::string identity() const override;

    std::unique_ptr<const ByteSource> open(std::string_view file, const std::stop_token& stopToken = {})
        const override;
    std::unique_ptr<const ByteSource> openFor(
        Extent extent, std::string_view file, const std::stop_token& stopToken = {}
    ) const override;
    bool expect(Extent extent, std::string_view file, Turn turn = Turn::Behind) const noexcept override;
    void forget(std::string_view file) const noexcept override;

    /// What the server answers is used by the next open().
    bool contains(std::string_view file) const override;

    bool mayHaveFolder(std::string_view folder) const override;

private:
    struct Wish
    {
        std::string file;
        Extent extent;
    };

    using Openings = std::map<std::string, std::unique_ptr<HttpOpening>, std::less<>>;

    std::unique_ptr<HttpOpening> takeExpected(std::string_view file) const;
    void beginExpected() const;
    bool expectFirst(Extent extent, std::string_view file) const;

    const std::shared_ptr<const HttpClient> mClient;
    const HttpUrl mUrl;

    mutable std::mutex mMutex;          // guards the rest
    mutable std::deque<Wish> mWaiting;  // in their order
    mutable Openings mExpected;
    mutable Openings mExpectedFirst;
};
}  // namespace Core
