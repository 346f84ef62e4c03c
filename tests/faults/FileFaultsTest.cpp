// Files that break while they are read: each read of each kind of file, once.
#include "tests/faults/DataSets.h"
#include "tests/support/AllocationFaults.h"
#include "tests/support/FileFaults.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <optional>
#include <stdexcept>
#include <string>

namespace
{
using Kind = FileFaults::Kind;
using testing::AnyOf;
using testing::HasSubstr;

class FileFaultsOf : public testing::TestWithParam<DataSet>
{
protected:
    void SetUp() override
    {
        GetParam().write(mFolder.path());
        const FileFaults counting(Kind::None);
        mExpected = read();
        mReads = counting.count();
        ASSERT_GT(mReads, 0);
        ASSERT_FALSE(mExpected.empty());
    }

    std::string read() const { return GetParam().read(mFolder.path()); }

    /// What reading throws when one of the reads goes wrong.
    std::optional<std::string> failureOf(Kind kind, int number) const
    {
        const FileFaults faults(kind, number);
        try
        {
            read();
        }
        catch (const std::runtime_error& error)
        {
            return error.what();
        }
        return std::nullopt;
    }

    TemporaryFolder mFolder;
    std::string mExpected;
    int mReads = 0;
};
}  // namespace

TEST_P(FileFaultsOf, ShortReadsGiveTheSame)
{
    const FileFaults faults(Kind::Short);

    EXPECT_EQ(read(), mExpected);
    EXPECT_GT(faults.count(), mReads);
}

TEST_P(FileFaultsOf, AnErrorAtAnyReadIsReportedWithTheFileAndNothingStaysBroken)
{
    for (int number = 1; number <= mReads; ++number)
    {
        SCOPED_TRACE(number);
        const std::optional<std::string> failure = failureOf(Kind::Error, number);

        ASSERT_TRUE(failure);
        EXPECT_THAT(*failure, HasSubstr(mFolder.path().filename().string()));
        EXPECT_THAT(*failure, HasSubstr("Input/output error"));
        EXPECT_EQ(read(), mExpected);
    }
}

TEST_P(FileFaultsOf, AFileThatEndsAtAnyReadIsReportedWithItsName)
{
    for (int number = 1; number <= mReads; ++number)
    {
        SCOPED_TRACE(number);
        const std::optional<std::string> failure = failureOf(Kind::End, number);

        ASSERT_TRUE(failure);
        EXPECT_THAT(*failure, HasSubstr(mFolder.path().filename().string()));
        EXPECT_THAT(*failure, HasSubstr("the file ends after"));
        EXPECT_EQ(read(), mExpected);
    }
}

TEST_P(FileFaultsOf, WithoutMemoryAtAnyAllocationItThrowsAndTheNextReadIsRight)
{
    long allocations = 0;
    {
        const AllocationFaults counting(0);
        read();
        allocations = counting.count();
    }
    ASSERT_GT(allocations, 10);

    // Every one of the first, then a part of the many: the loops repeat themselves.
    constexpr long kAll = 400;
    for (long number = 1; number <= allocations; number += number < kAll ? 1 : 1 + allocations / kAll)
    {
        SCOPED_TRACE(number);
        {
            const AllocationFaults faults(number);
            try
            {
                EXPECT_EQ(read(), mExpected);  // what can do without its memory may go on
            }
            catch (const std::bad_alloc&)
            {
                EXPECT_TRUE(faults.hasFailed());
            }
            catch (const std::runtime_error&)
            {
                EXPECT_TRUE(faults.hasFailed());
            }
        }
        ASSERT_EQ(read(), mExpected);
    }
}

TEST_P(FileFaultsOf, FilesThatAreShortenedOnDiskAreErrorsOrReadAsTheyAre)
{
    for (const auto& entry : std::filesystem::recursive_directory_iterator(mFolder.path()))
    {
        if (!entry.is_regular_file())
        {
            continue;
        }
        const std::string bytes = TemporaryFolder::read(entry.path());
        for (std::size_t part = 0; part < 8; ++part)
        {
            std::filesystem::resize_file(entry.path(), bytes.size() * part / 8);
            try
            {
                read();
            }
            catch (const std::runtime_error& error)
            {
                EXPECT_THAT(error.what(), HasSubstr(mFolder.path().filename().string()));
            }
        }
        mFolder.write(std::filesystem::relative(entry.path(), mFolder.path()), bytes);
    }
    EXPECT_EQ(read(), mExpected);
}

INSTANTIATE_TEST_SUITE_P(
    ,
    FileFaultsOf,
    testing::ValuesIn(kDataSets),
    [](const testing::TestParamInfo<DataSet>& dataSet) { return std::string(dataSet.param.name); }
);
