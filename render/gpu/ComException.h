#pragma once

#include "render/Export.h"

#include <cstdint>
#include <exception>
#include <string>

namespace Render
{
/// A Direct3D call that failed.
///
/// Threads  a plain value.
class RENDER_API ComException : public std::exception
{
public:
    /// Builds the message from the system's text for the result. Where it has none the message is
    /// "IDispatch error #%d" for results above 0x80040200 up to 0x8004FFFF, counted from 0x80040200, and
    /// otherwise "Unknown error 0x%0lX".
    /// @param result  the HRESULT of the call; of a longer number its lower 32 bits
    explicit ComException(long result);

    /// The same message, then a colon and what was being done.
    ComException(long result, const std::string& detail);

    /// The message.
    const char* what() const noexcept override;

    /// The HRESULT: a number of 32 bits, negative for failures.
    long result() const noexcept;

protected:
    /// Tells a whole message from a detail.
    struct WholeMessage
    {
        std::string text;  ///< shown as it is
    };

    /// A message of a derived class's own.
    ComException(long result, WholeMessage message);

private:
    std::int32_t mResult;
    std::string mMessage;
};
}  // namespace Render
