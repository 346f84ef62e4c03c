#pragma once

#include <csignal>
#include <cstdint>
#include <stdexcept>
#include <sys/resource.h>

/// Until the end of the scope no file of this process grows beyond a size, as on a disk that is full.
///
/// Threads  the limit is that of the whole process.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(std::uint64_t bytes)
    {
        if (getrlimit(RLIMIT_FSIZE, &mOldLimit) != 0)
        {
            throw std::runtime_error("cannot ask for the limit of file sizes");
        }
        mOldHandler = std::signal(SIGXFSZ, SIG_IGN);  // writing fails then, instead of ending the process
        rlimit limit = mOldLimit;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }

    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &mOldLimit);
        std::signal(SIGXFSZ, mOldHandler);
    }

    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit mOldLimit{};
    void (*mOldHandler)(int) = nullptr;
};
