#pragma once

#include "Mw/Assert.h"
#include "Mw/Exception.h"
#include "Mw/LightweightString.h"
#include "OS/ThreadExit.h"
#include "libmw/Text.h"
#include "misc/diagnostics/Console.h"

#include <cstdio>
#include <exception>

// What tables have to say goes to the debug console and the diagnostic stream. Any thread.
inline void reportSwap(const LightweightString<char>& text)
{
    herc_printf("%s", text.c_str());
    std::fputs(text.c_str(), Mw::diagnosticStream());
}

// What `call` gives, which may run the code of any stored class. If that throws, false, and the reason.
template <class Call>
bool runCatching(LightweightString<char>& reason, Call call)
{
    try
    {
        return call();
    }
    catch (const ThreadExit&)
    {
        throw;
    }
    catch (const Mw::Exception::Base& e)
    {
        reason = "exception: " + LightweightString<char>(e.message_);
    }
    catch (const std::exception& e)
    {
        reason = "exception: " + LightweightString<char>(e.what());
    }
    catch (...)
    {
        reason = "exception of an unknown kind";
    }
    return false;
}
