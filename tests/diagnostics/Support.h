#pragma once

#include "Mw/Exception.h"
#include "OS/testing/TestClock.h"
#include "OS/testing/TestDesktop.h"
#include "persistence/QuietTest.h"

// A debugger whose clock, stack and channel a test holds in its hands.
class TestDebugger : public TestClock
{
public:
    Mw::StackTrace frames;
    std::string channel;

    void debugOutput(const char* text) override { channel += text; }
    void getStackTrace(Mw::StackTrace& lines) override { lines = frames; }
};

// Catches what goes to the log, with a TestDebugger and settings in memory in place.
class Diagnostics : public QuietTest
{
protected:
    ~Diagnostics() override { SetLogFilter(nullptr); }

    TestDebugger debugger_;
    TestDesktop desktop_;

private:
    const OSReplacement<iDebugger> debuggerReplaced_{debugger_};
    const OSReplacement<iDesktop> desktopReplaced_{desktop_};
};
