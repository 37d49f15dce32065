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
