// The main of every test program.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#if defined(__SANITIZE_ADDRESS__)
/// What the leak checker does not report; visible, since its library looks for it here.
extern "C" [[gnu::visibility("default")]] const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions()
{
    // The shader compiler forgets some small parts of the syntax tree of each source.
    return "leak:libvkd3d-shader.so\n";
}
#endif

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX  // the MinGW headers define it themselves
#define NOMINMAX
#endif
#include <windows.h>

#include <cstdio>
#include <cstdlib>

namespace
{
constexpr UINT kCrashStatus = 100;

/// Makes every crash end the program at once with a status of its own; a crash debugger in between could ask,
/// hang or report success.
LONG WINAPI onCrash(EXCEPTION_POINTERS* exception)
{
    std::fprintf(
        stderr,
        "CRASH %08lx at %p\n",
        exception->ExceptionRecord->ExceptionCode,
        exception->ExceptionRecord->ExceptionAddress
    );
    std::fflush(stderr);
    TerminateProcess(GetCurrentProcess(), kCrashStatus);
    return EXCEPTION_EXECUTE_HANDLER;
}

/// Tells scripts/wine-test.sh that the program has come to run.
void leaveStartMark()
{
    if (const char* const path = std::getenv("TARNEL_TEST_STARTED"))
    {
        if (std::FILE* const file = std::fopen(path, "w"))
        {
            std::fclose(file);
        }
    }
}
}  // namespace
#endif

int main(int argc, char** argv)
{
#if defined(_WIN32)
    SetUnhandledExceptionFilter(onCrash);
    leaveStartMark();
#endif
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
