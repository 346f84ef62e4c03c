#include "core/MemoryFolder.h"
#include "core/ReopenedFile.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

namespace
{
using Core::ReopenedFile;

std::string contentOf(const ReopenedFile& file)
{
    return file.use(
        [](const Core::ByteSource& source)
        {
            std::string content(static_cast<std::size_t>(source.size()), '?');
            EXPECT_TRUE(source.readAt(0, std::as_writable_bytes(std::span(content))));
            return content;
        }
    );
}

std::shared_ptr<Core::MemoryFolder> folderWith(const std::string& content)
{
    auto folder = std::make_shared<Core::MemoryFolder>("box");
    folder->set("file", content);
    return folder;
}

TEST(ReopenedFile, StaysOpen)
{
    const auto folder = folderWith("first");
    const ReopenedFile file(folder, "file");
    folder->set("file", "second");

    EXPECT_EQ(contentOf(file), "first");
}

TEST(ReopenedFile, IsOpenedAnewAfterAFailure)
{
    const auto folder = folderWith("broken");
    const ReopenedFile file(folder, "file");
    folder->set("file", "mended file");

    EXPECT_EQ(
        messageOf<std::runtime_error>(
            [&] { file.use([](const Core::ByteSource&) { throw std::runtime_error("no node"); }); }
        ),
        "no node"
    );
    folder->set("file", "later");

    EXPECT_EQ(contentOf(file), "later") << "opened when it is used next";
}

TEST(ReopenedFile, AMissingFileIsNamed)
{
    EXPECT_THAT(
        messageOf<std::runtime_error>([] { const ReopenedFile file(folderWith(""), "other"); }),
        testing::HasSubstr("other")
    );
}

TEST(ReopenedFile, NamesItselfAsItsFolderDoes)
{
    const auto folder = folderWith("");

    EXPECT_EQ(ReopenedFile(folder, "file").name(), folder->nameOf("file"));
}
}  // namespace
