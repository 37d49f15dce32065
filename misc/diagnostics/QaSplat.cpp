#include "misc/diagnostics/QaSplat.h"

#include "OS/Desktop.h"
#include "OS/FileMgr.h"
#include "OS/OS.h"
#include "libmw/Text.h"
#include "misc/diagnostics/FatalError.h"
#include "misc/diagnostics/SystemWatchdog.h"
#include "misc/settings/RegistryConfig.h"

namespace
{

bool isStopWanted()
{
    return GlobalConfig().getValue("QA Splat", false, "");
}

class LifeSupport
{
public:
    LifeSupport() { SystemWatchdog::beginLifeSupport(); }
    ~LifeSupport() { SystemWatchdog::endLifeSupport(); }
    LifeSupport(const LifeSupport&) = delete;
    LifeSupport& operator=(const LifeSupport&) = delete;
};

} // namespace

void qa_splat(const char* message, int)
{
    if (isStopWanted())
        oma_splat(message);
    else
        logStacktrace(message);
}

void showError(const char* message, bool show)
{
    const LifeSupport forTheWait;
    if (show)
        OS().desktop().showMessageBox(OS().fileMgr().getApplicationName(), Mw::WStringFromAscii(message),
                                      iDesktop::eIconError, iDesktop::eButtonOK);
}
