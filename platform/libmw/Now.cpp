#include "libmw/Now.h"

#include "OS/Debugger.h"
#include "OS/OS.h"

double Mw::now()
{
    return OS().debugger().getClock() / 1e6;
}
