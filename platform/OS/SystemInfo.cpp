#include "OS/SystemInfo.h"

iSystemInfo::~iSystemInfo() = default;
