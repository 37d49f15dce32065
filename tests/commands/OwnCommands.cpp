#include "media/AssertionLines.h"
#include "misc/commands/CommandMap.h"
#include "misc/commands/CommandRegistrar.h"
#include "misc/diagnostics/DebugWindow.h"
#include "misc/notify/NotifierBase.h"

#include <gtest/gtest.h>

namespace
{

int runs = 0;
const CommandRegistrar beforeMain(
    "test before main", [] { ++runs; }, UIString(), UIString(), eCmdGlobal, MapItem());

void call(const char* name)
{
    CommandMap::instance()->callCommand(name, {});
}

TEST(OwnCommands, doWhatTheyAreNamedAfter)
{
    for (const bool on : {!outputDebugStringsPref().getValue(), outputDebugStringsPref().getValue()})
    {
        call("Toggle win32 debug");
        EXPECT_EQ(outputDebugStringsPref().getValue(), on);
    }
    for (const bool on : {!NotifierBase::debugMode(), NotifierBase::debugMode()})
    {
        call("toggle_debug_notify");
        EXPECT_EQ(NotifierBase::debugMode(), on);
    }
    AssertionLines lines;
    call("Toggle status window");
    EXPECT_EQ(lines.text(), "assertion failed window_ at misc/herc line 558\n");
    call("test before main");
    EXPECT_EQ(runs, 1);
}

} // namespace
