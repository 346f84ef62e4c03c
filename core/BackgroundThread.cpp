#include "core/BackgroundThread.h"

#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

namespace Core
{
struct BackgroundThread::State
{
    explicit State(std::function<void(std::stop_token)> functionToRun) : function(std::move(functionToRun)) {}

    void loop();
    void ask(bool& wish);

    const std::function<void(std::stop_token)> function;

    std::mutex mutex;  // guards what follows up to the thread
    std::condition_variable wishMade;
    bool restartWanted = false;
    bool endWanted = false;
    std::stop_source currentRun{std::nostopstate};

    std::thread thread;
};

void BackgroundThread::State::loop()
{
    std::unique_lock lock(mutex);
    for (;;)
    {
        wishMade.wait(lock, [this] { return restartWanted || endWanted; });
        if (endWanted)
        {
            return;
        }
        restartWanted = false;
        currentRun = std::stop_source();
        const std::stop_token token = currentRun.get_token();
        lock.unlock();
        try
        {
            function(token);
        }
        catch (...
        )  // NOLINT(bugprone-empty-catch): ends this run only, as promised; the function reports its errors
        {
        }
        lock.lock();
    }
}

void BackgroundThread::State::ask(bool& wish)
{
    std::stop_source running{std::nostopstate};
    {
        const std::scoped_lock lock(mutex);
        wish = true;
        running = currentRun;
    }
    wishMade.notify_one();
    running.request_stop();  // outside the lock: it runs the stop callbacks of the function
}

BackgroundThread::BackgroundThread(std::function<void(std::stop_token)> function)
    : mState(std::make_unique<State>(std::move(function)))
{
    if (!mState->function)
    {
        throw std::invalid_argument("Error: background thread without a function");
    }
    mState->thread = std::thread(&State::loop, mState.get());
}

BackgroundThread::~BackgroundThread()
{
    mState->ask(mState->endWanted);
    mState->thread.join();
}

void BackgroundThread::restart()
{
    mState->ask(mState->restartWanted);
}
}  // namespace Core
