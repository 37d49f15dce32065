#include "misc/commands/CommandRegistrar.h"
#include "misc/diagnostics/DebugWindow.h"
#include "misc/notify/NotifierBase.h"

// All commands that the library itself registers. Those who do the work stand below the table of commands and
// know nothing of it.

void NotifierBase::registerCommands()
{
    static const CommandRegistrar toggleDebug("toggle_debug_notify", toggleNotifyDebug, UIString(), UIString(),
                                              eCmdLocal, MapItem());
}

namespace
{

const CommandRegistrar debugOutput("Toggle win32 debug", toggleWin32Debug, UIString(), UIString(), eCmdLocal,
                                   MapItem());
const CommandRegistrar statusWindow("Toggle status window", toggleHercWindow, UIString(), UIString(), eCmdLocal,
                                    MapItem());
[[maybe_unused]] const bool areNotifiersRegistered = (NotifierBase::registerCommands(), true);

} // namespace
