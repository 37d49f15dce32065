#include "OS/File.h"

std::uint64_t iFile::recalculateSize()
{
    return size();
}

unsigned iFile::getCaps()
{
    return eNoCaps;
}
