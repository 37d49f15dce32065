#pragma once

#include "Mw/LightweightString.h"
#include "OS/Utf8.h"

#include <cstring>

// Paths as the system takes and gives them: bytes, which are UTF-8 by our convention.

// A path with a zero character inside names no file; the system would see its first half only.
inline LightweightString<char> nativePath(const LightweightString<wchar_t>& path)
{
    LightweightString<char> bytes = Mw::utf8FromWide(path.c_str(), path.length());
    if (std::strlen(bytes.c_str()) != bytes.length())
        return {};
    return bytes;
}

inline LightweightString<wchar_t> widePath(const char* bytes)
{
    return Mw::wideFromUtf8(bytes, std::strlen(bytes));
}
