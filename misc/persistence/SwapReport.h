#pragma once

#include "Mw/Assert.h"
#include "Mw/LightweightString.h"
#include "misc/diagnostics/Console.h"

#include <cstdio>

// What tables have to say goes to the debug console and the diagnostic stream. Any thread.
inline void reportSwap(const LightweightString<char>& text)
{
    herc_printf("%s", text.c_str());
    std::fputs(text.c_str(), Mw::diagnosticStream());
}
