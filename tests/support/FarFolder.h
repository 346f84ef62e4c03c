#pragma once

#include "core/ByteFolder.h"
#include "core/ByteSource.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// What was done with the files of a FarFolder, a line each:
/// "open FILE", "read FILE BEGIN+LENGTH", "expect FILE[ BEGIN+LENGTH][ first]", "forget FILE[ BEGIN+LENGTH]".
class FileLog
{
public:
    void add(const std::string& line)
    {
        const std::scoped_lock lock(mMutex);
        mLines.push_back(line);
    }

    /// The lines since the last call that begin so.
    std::vector<std::string> take(std::string_view begin = "")
    {
        const std::scoped_lock lock(mMutex);
        std::vector<std::string> taken;
        for (std::string& line : std::exchange(mLines, {}))
        {
            if (line.starts_with(begin))
            {
                taken.push_back(std::move(line));
            }
        }
        return taken;
    }

    std::atomic<bool> hasCome = false;  ///< what expect() answers

private:
    std::mutex mMutex;
    std::vector<std::string> mLines;
};

/// A folder that takes hints as one behind a network does, and writes down what is done. Reads never wait.
class FarFolder final : public Core::ByteFolder
{
public:
    explicit FarFolder(std::shared_ptr<const Core::ByteFolder> folder) : mFolder(std::move(folder)) {}

    std::string name() const override { return mFolder->name(); }

    std::string nameOf(std::string_view file) const override { return mFolder->nameOf(file); }

    std::string title() const override { return mFolder->title(); }

    std::unique_ptr<const Core::ByteSource> open(std::string_view file, const std::stop_token& stopToken)
        const override
    {
        log->add("open " + std::string(file));
        return std::make_unique<const Source>(mFolder->open(file, stopToken), std::string(file), log);
    }

    bool expect(Core::Extent, std::string_view file, Core::Turn turn) const noexcept override
    {
        log->add("expect " + std::string(file) + (turn == Core::Turn::First ? " first" : ""));
        return log->hasCome;
    }

    void forget(std::string_view file) const noexcept override { log->add("forget " + std::string(file)); }

    bool contains(std::string_view file) const override { return mFolder->contains(file); }

    bool mayHaveFolder(std::string_view folder) const override { return mFolder->mayHaveFolder(folder); }

    const std::shared_ptr<FileLog> log = std::make_shared<FileLog>();

private:
    class Source final : public Core::ByteSource
    {
    public:
        Source(std::unique_ptr<const Core::ByteSource> source, std::string file, std::shared_ptr<FileLog> log)
            : mSource(std::move(source)), mFile(std::move(file)), mLog(std::move(log))
        {
        }

        std::string name() const override { return mSource->name(); }

        std::uint64_t size() const noexcept override { return mSource->size(); }

        Core::SourceIdentity identity() const override { return mSource->identity(); }

        bool read(std::span<const Core::ByteRange> ranges, const std::stop_token& stopToken) const override
        {
            for (const Core::ByteRange& range : ranges)
            {
                mLog->add("read " + place(range.offset, range.out.size()));
            }
            return mSource->read(ranges, stopToken);
        }

        bool expect(std::uint64_t offset, std::size_t length, Core::Turn turn) const noexcept override
        {
            mLog->add("expect " + place(offset, length) + (turn == Core::Turn::First ? " first" : ""));
            return mLog->hasCome;
        }

        void forget(std::uint64_t offset, std::size_t length) const noexcept override
        {
            mLog->add("forget " + place(offset, length));
        }

    private:
        std::string place(std::uint64_t offset, std::size_t length) const
        {
            return mFile + ' ' + std::to_string(offset) + '+' + std::to_string(length);
        }

        std::unique_ptr<const Core::ByteSource> mSource;
        std::string mFile;
        std::shared_ptr<FileLog> mLog;
    };

    std::shared_ptr<const Core::ByteFolder> mFolder;
};
