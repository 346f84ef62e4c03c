#pragma once

#include "render/platform/Direct3D.h"

#include <mutex>
#include <string>

/// Lets one of the calls that create or map something fail, or all from one on, as a device does that has
/// been lost. Calls count from 1.
class CallFaults
{
public:
    /// How the chosen call fails.
    enum class Kind
    {
        OutOfMemory,  ///< that call alone
        DeviceLost    ///< that call and all after it
    };

    /// Counts anew; the call of this number fails.
    void failAt(int number, Kind kind)
    {
        const std::scoped_lock lock(mMutex);
        mCount = 0;
        mNumber = number;
        mKind = kind;
        mReason = S_OK;
        mFailed.clear();
    }

    /// Counts anew; none fails.
    void failNone() { failAt(0, Kind::OutOfMemory); }

    /// The device is gone from now on.
    void loseDevice()
    {
        const std::scoped_lock lock(mMutex);
        mReason = kReason;
    }

    /// How many there were.
    int count() const
    {
        const std::scoped_lock lock(mMutex);
        return mCount;
    }

    /// Which function failed first; empty when none did.
    std::string failed() const
    {
        const std::scoped_lock lock(mMutex);
        return mFailed;
    }

    /// What the device says of itself.
    HRESULT removedReason() const
    {
        const std::scoped_lock lock(mMutex);
        return mReason;
    }

    /// Before each call: a failure is its result.
    HRESULT before(const char* function)
    {
        const std::scoped_lock lock(mMutex);
        if (FAILED(mReason))
        {
            return DXGI_ERROR_DEVICE_REMOVED;
        }
        if (++mCount != mNumber)
        {
            return S_OK;
        }
        mFailed = function;
        if (mKind == Kind::OutOfMemory)
        {
            return E_OUTOFMEMORY;
        }
        mReason = kReason;
        return DXGI_ERROR_DEVICE_REMOVED;
    }

    static constexpr HRESULT kReason = static_cast<HRESULT>(0x887A0006);  // DXGI_ERROR_DEVICE_HUNG

private:
    mutable std::mutex mMutex;
    int mCount = 0;
    int mNumber = 0;  // none
    Kind mKind = Kind::OutOfMemory;
    HRESULT mReason = S_OK;
    std::string mFailed;
};
