#include "tests/support/FileFaults.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <sys/types.h>

namespace
{
constexpr std::size_t kFew = 3;

std::atomic<FileFaults::Kind> kind{FileFaults::Kind::None};
std::atomic<int> number{0};
std::atomic<int> reads{0};

using Read = ssize_t (*)(int, void*, size_t, off_t);

ssize_t readWithFaults(Read read, int file, void* bytes, size_t size, off_t offset)
{
    const bool isTurn = ++reads >= number;
    switch (kind)
    {
        case FileFaults::Kind::Short:
            return read(file, bytes, std::min(size, kFew), offset);
        case FileFaults::Kind::Error:
            if (isTurn)
            {
                errno = EIO;
                return -1;
            }
            break;
        case FileFaults::Kind::End:
            if (isTurn)
            {
                return 0;
            }
            break;
        case FileFaults::Kind::None:
            break;
    }
    return read(file, bytes, size, offset);
}

Read nextOf(const char* name)
{
    return reinterpret_cast<Read>(dlsym(RTLD_NEXT, name));
}
}  // namespace

FileFaults::FileFaults(Kind newKind, int newNumber)
{
    number = newNumber;
    reads = 0;
    kind = newKind;
}

FileFaults::~FileFaults()
{
    kind = Kind::None;
}

int FileFaults::count() const
{
    return reads;
}

// These stand before the C library's.
extern "C"
{
    __attribute__((visibility("default"))) ssize_t pread(int file, void* bytes, size_t size, off_t offset)
    {
        static const Read next = nextOf("pread");
        return readWithFaults(next, file, bytes, size, offset);
    }

    __attribute__((visibility("default"))) ssize_t pread64(int file, void* bytes, size_t size, off_t offset)
    {
        static const Read next = nextOf("pread64");
        return readWithFaults(next, file, bytes, size, offset);
    }
}
