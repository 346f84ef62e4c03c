#include "core/version.h"
#include "tests/support/testData.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <string>

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace
{
const std::string kSources = (testData() / ".." / "..").string();

std::string textOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string version()
{
    return std::string(Tarnel::version());
}
}  // namespace

TEST(Version, IsThatOfTheProject)
{
    const std::string project = textOf(kSources + "/CMakeLists.txt");
    std::smatch found;
    ASSERT_TRUE(std::regex_search(project, found, std::regex(R"(project\(Tarnel VERSION (\S+))")));
    EXPECT_EQ(version(), found[1]);
}

TEST(Version, HasThreeNumbers)
{
    EXPECT_TRUE(std::regex_match(version(), std::regex(R"(\d+\.\d+\.\d+)"))) << version();
}

TEST(Version, HasASectionInTheChangeLog)
{
    EXPECT_NE(textOf(kSources + "/CHANGELOG.md").find("\n## [" + version() + "] - "), std::string::npos);
}

TEST(Version, IsThatOfTheVcpkgPort)
{
    const std::string port = textOf(kSources + "/packaging/vcpkg/ports/tarnel/vcpkg.json");
    EXPECT_NE(port.find("\"version\": \"" + version() + "\""), std::string::npos) << port;
}

#ifdef _WIN32
TEST(Version, IsInTheLibrarysVersionResource)
{
    const HMODULE library = GetModuleHandleW(L"TarnelCore.dll");
    ASSERT_NE(library, nullptr);
    const HRSRC place =
        FindResourceW(library, MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(16));  // VS_VERSION_INFO of RT_VERSION
    ASSERT_NE(place, nullptr);
    const auto* const resource = static_cast<const char*>(LockResource(LoadResource(library, place)));
    const std::u16string text(
        reinterpret_cast<const char16_t*>(resource), SizeofResource(library, place) / sizeof(char16_t)
    );

    const std::string narrow = version();
    std::u16string expected = u"FileVersion";
    const std::size_t name = text.find(expected);
    ASSERT_NE(name, std::u16string::npos);
    const std::size_t value = text.find_first_not_of(u'\0', name + expected.size());
    ASSERT_NE(value, std::u16string::npos);
    EXPECT_EQ(text.substr(value, narrow.size() + 1), std::u16string(narrow.begin(), narrow.end()) + u'\0');
}
#else
TEST(Version, MajorAndMinorAreInTheLibrarysName)
{
    Dl_info library{};
    ASSERT_NE(dladdr(reinterpret_cast<const void*>(&Tarnel::version), &library), 0);
    const std::string file = library.dli_fname;
    const std::string shortVersion = version().substr(0, version().rfind('.'));
    EXPECT_EQ(file.substr(file.rfind('/') + 1), "libTarnelCore.so." + shortVersion);
}
#endif
