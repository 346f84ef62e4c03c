#include "core/InstanceId.h"
#include "tests/core/module/Counted.h"
#include "tests/core/module/countedInModule.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <thread>
#include <vector>

namespace
{
class Plain : public Core::InstanceId<Plain>
{
};

class Other : public Core::InstanceId<Other>
{
};

class Copied : public Core::InstanceId<Copied>
{
};

class Raced : public Core::InstanceId<Raced>
{
};

TEST(InstanceId, CountsPerClass)
{
    const Other otherBefore;
    const Plain first;
    const Plain second;
    const Other otherAfter;

    EXPECT_EQ(second.id(), first.id() + 1);
    EXPECT_EQ(otherAfter.id(), otherBefore.id() + 1);
}

TEST(InstanceId, CountsFromZero)
{
    static int runs = 0;  // so that the test holds when it is repeated in one process
    const std::string unused = "a class of run " + std::to_string(++runs);

    EXPECT_EQ(Core::instanceCounter(unused.c_str()), 0U);
}

TEST(InstanceId, CopiesKeepTheIdOfTheirOriginal)
{
    const Copied original;
    const Copied copy(original
    );  // NOLINT(performance-unnecessary-copy-initialization): the copy is the subject
    Copied assigned;
    assigned = original;

    EXPECT_EQ(copy.id(), original.id());
    EXPECT_EQ(assigned.id(), original.id());
}

TEST(InstanceId, IsUniqueAmongObjectsMadeOnSeveralThreads)
{
    constexpr std::size_t kThreadCount = 4;
    constexpr std::size_t kPerThread = 1000;
    std::vector<std::vector<std::uint64_t>> ids(kThreadCount);
    std::vector<std::thread> threads;
    for (std::vector<std::uint64_t>& own : ids)
    {
        threads.emplace_back(
            [&own]
            {
                for (std::size_t i = 0; i < kPerThread; ++i)
                {
                    own.push_back(Raced().id());
                }
            }
        );
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }

    std::set<std::uint64_t> different;
    for (const std::vector<std::uint64_t>& own : ids)
    {
        different.insert(own.begin(), own.end());
    }

    EXPECT_EQ(different.size(), kThreadCount * kPerThread);
    EXPECT_EQ(*different.rbegin() - *different.begin(), kThreadCount * kPerThread - 1);  // none left out
}

TEST(InstanceId, IsOneCounterForAllModulesOfTheProcess)
{
    const Counted here;
    const std::uint64_t there = idOfCountedMadeInModule();
    const Counted hereAgain;

    EXPECT_EQ(there, here.id() + 1);
    EXPECT_EQ(hereAgain.id(), here.id() + 2);
}

TEST(InstanceId, CounterIsFoundByTheTextOfTheTypeNameNotItsAddress)
{
    const std::string name = "a type name";
    const std::string sameName = "a type name";

    EXPECT_EQ(&Core::instanceCounter(name.c_str()), &Core::instanceCounter(sameName.c_str()));
    EXPECT_NE(&Core::instanceCounter(name.c_str()), &Core::instanceCounter("another type name"));
}
}  // namespace
