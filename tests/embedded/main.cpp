#include <core/readLocalFile.h>
#include <core/version.h>

#include <cstdio>
#include <exception>
#include <string>

/// Prints the version, and shows that an exception of the library arrives by its type.
int main()
{
    std::printf("%s\n", std::string(Tarnel::version()).c_str());
    try
    {
        Core::readLocalFile("missing");
    }
    catch (const std::exception& error)
    {
        std::printf("caught: %s\n", error.what());
        return 0;
    }
    return 1;
}
