#pragma once

#include "core/NonCopyable.h"
#include "graphics/PictureLimits.h"

#include <spng.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <stop_token>
#include <string>

namespace Graphics
{
/// A PNG file whose header is read and found sound; decodes its pixels once.
///
/// A file that cannot hold as many pixels as it announces is refused, so memory taken for the pixels is in
/// proportion to the compressed bytes in the file. Broken check sums are errors.
///
/// Threads  one at a time.
class PngReader : private Core::NonCopyable
{
public:
    /// @param name  for messages
    /// @param file  the whole file
    /// @throws std::runtime_error  naming the file and what is wrong
    PngReader(std::string name, std::string file);

    std::uint32_t width() const noexcept { return mHeader.width; }

    std::uint32_t height() const noexcept { return mHeader.height; }

    /// True for 16-bit grey without alpha.
    bool isGray16() const noexcept;

    /// Fills `pixels`, rows without padding.
    /// @param format  SPNG_FMT_RGBA8, or SPNG_FMT_PNG for the values as they are in the byte order of this
    ///                machine
    /// @param stopToken  looked at before each row
    /// @return false when a stop was requested; some rows are not filled then
    /// @throws std::runtime_error  naming the file and what is wrong, also for a size that is not that of the
    ///                             picture
    bool decode(std::span<std::byte> pixels, spng_format format, const std::stop_token& stopToken = {});

    /// Throws std::runtime_error with the file's name and the reason.
    [[noreturn]] void fail(const std::string& reason) const;

private:
    struct FreeContext
    {
        void operator()(spng_ctx* context) const noexcept;
    };

    void check(int result) const;

    std::string mName;
    std::string mFile;
    std::unique_ptr<spng_ctx, FreeContext> mContext;
    spng_ihdr mHeader{};
};
}  // namespace Graphics
