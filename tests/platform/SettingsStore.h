#pragma once

#include "OS/ForkCount.h"
#include "OS/OS.h"
#include "OS/Settings.h"
#include "platform/HastyClock.h"
#include "platform/TempFolder.h"

#include <filesystem>
#include <fstream>
#include <sqlite3.h>
#include <string>
#include <sys/wait.h>
#include <vector>

// Another program at a database: runs statements, and keeps the locks that they took for a scope.
struct Holder
{
    Holder(const std::filesystem::path& file, const char* statements)
        : code(sqlite3_open(file.c_str(), &database) | sqlite3_exec(database, statements, nullptr, nullptr, nullptr))
    {
    }
    ~Holder() { sqlite3_close(database); }

    sqlite3* database = nullptr;
    const int code;
};

// The words of the tests of the settings store: a folder with one store, and what was said meanwhile.
class SettingsStore : public testing::Test
{
protected:
    SettingsStore() { theMessages.clear(); }
    ~SettingsStore() override { OS().setMessageFunction(before_); }

    std::filesystem::path file() const { return folder_.path() / "application" / "settings.sqlite"; }
    std::filesystem::path beside(const char* ending) const { return file().string() + ending; }
    Mw::Ptr<iSettings> open() const { return Mw::openSettingsFile(TempFolder::wideOf(file().string())); }

    static std::string get(const Mw::Ptr<iSettings>& store, const char* key, const char* section = "")
    {
        return std::string(store->getValue(key, "(none)", section));
    }
    // In a store that is opened anew.
    std::string stored(const char* key) const { return get(open(), key); }
    void put(const char* key, const char* value) const { ASSERT_EQ(open()->setValue(key, value, ""), 0); }

    static std::string bytes(const std::filesystem::path& path)
    {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    static void setBytes(const std::filesystem::path& path, const std::string& text)
    {
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << text;
    }

    // What the test's process does in a child, which ends by itself or by a signal. The child passes for a
    // process of its own, which is sound while its parent has no store open.
    template <class Work>
    static pid_t begin(Work work)
    {
        const pid_t child = ::fork();
        if (child == 0)
        {
            theForkCount = 0;
            work();
            ::_exit(testing::Test::HasFailure() ? 1 : 0);
        }
        return child;
    }
    static int statusOf(pid_t child)
    {
        int status = 0;
        ::waitpid(child, &status, 0);
        return status;
    }

    static inline std::vector<std::string> theMessages;

private:
    TempFolder folder_;
    const OperatingSystem::MessageFunction before_ =
        OS().setMessageFunction([](const char* text) { theMessages.push_back(text); });
};
