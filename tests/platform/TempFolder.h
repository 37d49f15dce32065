#pragma once

#include "OS/FileMgr.h"
#include "OS/OS.h"
#include "OS/Utf8.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <unistd.h>

// A folder of a test's own, removed with all that is in it.
class TempFolder
{
public:
    TempFolder()
    {
        std::string path = std::filesystem::temp_directory_path() / "mw-test-XXXXXX";
        if (::mkdtemp(path.data()) == nullptr)
            ADD_FAILURE() << "no folder " << path;
        path_ = std::filesystem::canonical(path);
    }
    ~TempFolder() { std::filesystem::remove_all(path_); }

    const std::filesystem::path& path() const { return path_; }
    LightweightString<wchar_t> wide() const { return wideOf(path_.string()); }

    static LightweightString<wchar_t> wideOf(const std::string& text)
    {
        return Mw::wideFromUtf8(text.data(), text.size());
    }

private:
    std::filesystem::path path_;
};
