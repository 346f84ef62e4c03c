// Runs until it is ended. While one Windows program lives, Wine starts others in a few milliseconds;
// otherwise each start costs half a second.
#include <windows.h>

#include <cstdio>

int main()
{
    // Starts Wine's desktop here, so that it does not hold on to the output of the first program that needs
    // it.
    GetDesktopWindow();
    std::puts("ready");
    std::fflush(stdout);
    Sleep(INFINITE);
    return 0;
}
