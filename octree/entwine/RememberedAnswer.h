#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>

namespace Entwine
{
/// An answer that is found once and then remembered, the failure to find it too.
///
/// The search runs outside the lock, so nobody waits for it; threads that ask at the same time search each on
/// their own and take the answer that came first.
/// Threads  all operations from any threads at once.
template <class T>
class RememberedAnswer
{
public:
    /// @param search  the answer, or nothing when it was given up, which is not remembered; what it throws as
    ///                std::runtime_error is
    /// @return the answer, or nothing when the search was given up
    /// @throws std::runtime_error  with the text of the first failure; anything else that the search throws
    std::optional<T> get(const std::function<std::optional<T>()>& search) const
    {
        if (!isKnown())
        {
            try
            {
                const std::optional<T> answer = search();
                if (!answer)
                {
                    return std::nullopt;
                }
                remember(answer, {});
            }
            catch (const std::runtime_error& error)
            {
                remember(std::nullopt, error.what());
            }
        }
        const std::scoped_lock lock(mMutex);
        return mAnswer ? mAnswer : throw std::runtime_error(mFailure);
    }

private:
    bool isKnown() const
    {
        const std::scoped_lock lock(mMutex);
        return mIsKnown;
    }

    void remember(const std::optional<T>& answer, const std::string& failure) const
    {
        const std::scoped_lock lock(mMutex);
        if (!mIsKnown)
        {
            mAnswer = answer;
            mFailure = failure;
            mIsKnown = true;
        }
    }

    mutable std::mutex mMutex;  // guards the members below
    mutable std::optional<T> mAnswer;
    mutable std::string mFailure;  // where there is no answer
    mutable bool mIsKnown = false;
};
}  // namespace Entwine
