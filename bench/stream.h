#pragma once

// What the cases of stored streams are given, the same for all sides.

#include "bench/harness/Folder.h"

#include <filesystem>
#include <string>

#include <unistd.h>

namespace bench::stored
{

// Numbers as objects store them, ten to a record; 1,000,000 in all.
struct Record
{
    char kind = 'V';
    short track = -2;
    unsigned short flags = 0x8001;
    int offset = -3;
    unsigned length = 1000000;
    long start = -4;
    unsigned long end = 1ul << 40;
    double rate = 25.0;
    int level = 17;
    double gain = -1.5;
};
inline constexpr int recordCount = 100'000;
inline constexpr std::size_t recordBytes = 1 + 2 + 2 + 4 + 4 + 8 + 8 + 8 + 4 + 8;

// 20 MB, which are written in parts as a cache hands them on.
inline constexpr std::size_t partBytes = 64 * 1024;
inline const std::string& twentyMegabytes()
{
    static const std::string bytes = []
    {
        std::string made;
        for (unsigned i = 0; made.size() < 20'000'000; ++i)
            made += static_cast<char>(i * 2654435761u >> 24);
        return made;
    }();
    return bytes;
}

// A folder for the files of the run, removed at its end.
inline const Folder& folder()
{
    static const Folder made(std::filesystem::temp_directory_path());
    return made;
}

} // namespace bench::stored
