#pragma once

#include "misc/diagnostics/Log.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

// Keeps what is said out of the test's output.
class QuietTest : public testing::Test
{
protected:
    QuietTest() { SetLogOutput(log_); }
    ~QuietTest() override
    {
        SetLogOutput(nullptr);
        std::fclose(log_);
    }

    // What was said since the last time.
    std::string said()
    {
        std::string text(static_cast<std::size_t>(std::ftell(log_)), '\0');
        std::rewind(log_);
        text.resize(std::fread(text.data(), 1, text.size(), log_));
        std::rewind(log_);
        return text;
    }

private:
    std::FILE* const log_ = std::tmpfile();
};
