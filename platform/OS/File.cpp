#include "OS/File.h"

std::uint64_t iFile::recalculateSize()
{
    return size();
}

bool iFile::supportsLocks()
{
    return true;
}

unsigned iFile::getCaps()
{
    return eNoCaps;
}

bool iFile::reserve(std::uint64_t)
{
    return false;
}

bool iFile::startFlush(std::uint64_t, std::uint64_t)
{
    return false;
}
