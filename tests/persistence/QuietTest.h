#pragma once

#include "OS/FileMgr.h"
#include "misc/diagnostics/Log.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

inline std::string fileBytes(const LightweightString<wchar_t>& path)
{
    const Mw::Ptr<iFile> file = OS().fileMgr().openFile(path);
    std::string bytes(file->isOpen() ? file->size() : 0, '\0');
    file->read(bytes.data(), bytes.size(), 0);
    return bytes;
}

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
