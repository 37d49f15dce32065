// A stranger's program: uses one thing of each library through the installed headers.

#include "OS/FileMgr.h"
#include "libmw/UUID.h"
#include "misc/identity/Cookie.h"

int main()
{
    const Cookie cookie('V', Mw::UUID::generate(), 0);
    const bool same = Cookie(cookie.asString(true).c_str(), true).compare(cookie) == 0;
    return same && !OS().fileMgr().exists(LightweightString<wchar_t>(L"/no such file")) ? 0 : 1;
}
