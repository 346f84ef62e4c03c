#pragma once

#include "render/Export.h"

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
    /// @param result  the HRESULT of the call
    explicit ComException(long result);

    const char* what() const noexcept override;

    /// The HRESULT.
    long result() const noexcept;

private:
    long mResult;
    std::string mMessage;
};
}  // namespace Render
