// Writes the seeds of a target into a folder: fuzz-seeds TARGET FOLDER
#include "fuzz/makeSeeds.h"

#include <cstddef>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 3)
    {
        std::fputs("fuzz-seeds TARGET FOLDER\n", stderr);
        return 2;
    }
    try
    {
        const std::filesystem::path folder = arguments[2];
        std::filesystem::create_directories(folder);
        const std::vector<std::string> seeds = Fuzz::makeSeeds(arguments[1]);
        for (std::size_t i = 0; i < seeds.size(); ++i)
        {
            std::ofstream file(folder / ("seed-" + std::to_string(i)), std::ios::binary);
            file.write(seeds[i].data(), static_cast<std::streamsize>(seeds[i].size()));
        }
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "fuzz-seeds: %s\n", error.what());
        return 1;
    }
    return 0;
}
