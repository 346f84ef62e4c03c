#pragma once

#include <cstddef>

/// Until the end of the scope the reads of files of this program go wrong, as on a disk that breaks or on a
/// file that others shorten. Links of pread, which all reading goes through, lead here.
///
/// Threads  one object at a time; reads on any thread.
class FileFaults
{
public:
    enum class Kind
    {
        None,   ///< reads are counted only
        Short,  ///< every read gives at most three bytes
        Error,  ///< the chosen read and all after it fail with EIO
        End     ///< the chosen read and all after it find the end of the file
    };

    /// @param number  of the first read that goes wrong, from 1
    explicit FileFaults(Kind kind, int number = 1);
    ~FileFaults();
    FileFaults(const FileFaults&) = delete;
    FileFaults& operator=(const FileFaults&) = delete;

    /// Reads so far.
    int count() const;
};
