// Runs until it is ended. While one Windows program lives, Wine starts others in a few milliseconds;
// otherwise each start costs half a second.
#include <windows.h>

int main()
{
    Sleep(INFINITE);
    return 0;
}
