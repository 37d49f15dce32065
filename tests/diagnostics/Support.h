#pragma once

#include "Mw/Exception.h"
#include "OS/Debugger.h"
#include "OS/OS.h"
#include "OS/testing/TestDesktop.h"
#include "misc/diagnostics/Log.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <string>

// A debugger whose clock, stack and channel a test holds in its hands.
class TestDebugger : public iDebugger
{
public:
    double timeMs = 0;
    Mw::StackTrace frames;
    std::string channel;

    double getTimeMs() override { return timeMs; }
    double getClock() override { return timeMs * 1000; }
    double getPreciseTimeMs() override { return timeMs; }
    void debugOutput(const char* text) override { channel += text; }
    LightweightString<wchar_t> widen(const char* text, unsigned length) override
    {
        return standard_.widen(text, length);
    }
    void getStackTrace(Mw::StackTrace& lines) override { lines = frames; }

private:
    iDebugger& standard_ = OS().debugger();
};

// Catches what goes to the log, with a TestDebugger and settings in memory in place.
class Diagnostics : public testing::Test
{
protected:
    Diagnostics() { SetLogOutput(file_); }
    ~Diagnostics() override
    {
        SetLogFilter(nullptr);
        SetLogOutput(nullptr);
        std::fclose(file_);
    }

    // What was logged since the last call.
    std::string logged()
    {
        std::fseek(file_, 0, SEEK_END);
        std::string text(static_cast<std::size_t>(std::ftell(file_) - read_), ' ');
        std::fseek(file_, read_, SEEK_SET);
        read_ += static_cast<long>(std::fread(text.data(), 1, text.size(), file_));
        return text;
    }

    TestDebugger debugger_;
    TestDesktop desktop_;

private:
    OSReplacement<iDebugger> replacement_{debugger_};
    OSReplacement<iDesktop> desktopReplacement_{desktop_};
    std::FILE* const file_ = std::tmpfile();
    long read_ = 0;
};
