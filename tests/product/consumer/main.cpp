// A stranger's program: uses something of each library through the installed headers. The lines of README.md
// are among them.

#include "OS/FileMgr.h"
#include "libmw/UUID.h"
#include "misc/identity/Cookie.h"
#include "misc/media/Timecode.h"

#include <cstring>

int main()
{
    const Cookie cookie('V', Mw::UUID::generate(), 0);
    const bool same = Cookie(cookie.asString(true).c_str(), true).compare(cookie) == 0;

    char text[longestTimecodeBytes];
    tc_to_string(3600.0, text, TC_SHOW_ALL, Mw::FR25, false);

    const bool exists = OS().fileMgr().exists(LightweightString<wchar_t>(L"/no such file"));
    return same && !exists && std::strcmp(text, "01:00:00.00") == 0 ? 0 : 1;
}
