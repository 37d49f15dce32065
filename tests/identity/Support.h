#pragma once

#include "OS/OS.h"
#include "OS/testing/FailingFileMgr.h"
#include "OS/testing/MemoryFileMgr.h"
#include "OS/testing/TestDesktop.h"
#include "libmw/Text.h"
#include "misc/settings/RegistryConfig.h"
#include "persistence/QuietTest.h"
#include "platform/Environment.h"
#include "platform/HastyClock.h"

#include <string>

inline unsigned occurrences(const std::string& text, const std::string& part)
{
    unsigned count = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != text.npos; at += part.size())
        ++count;
    return count;
}

// A machine of a test's own: files, settings and clock in memory.
class MachineInMemory : public QuietTest
{
protected:
    using Path = LightweightString<wchar_t>;

    MachineInMemory()
    {
        OS().fileMgr().ensureDirectory(L"/projects");
        GlobalConfig().setValue("machine.num", 5, "");
    }

    static void write(const Path& path, const std::string& text)
    {
        OS().fileMgr().ensureDirectory(Mw::directoryOf(path));
        EXPECT_TRUE(Mw::replaceFile(path, text.data(), text.size()) && OS().fileMgr().syncDirectory(L"/"));
    }

    // "none" if there is no such file.
    static std::string contents(const Path& path)
    {
        const Mw::Ptr<iFile> file = OS().fileMgr().openFile(path);
        std::string text(static_cast<std::size_t>(file->size()), ' ');
        file->read(text.data(), text.size(), 0);
        return file->isOpen() ? text : "none";
    }

    // The jar asks for its directory once in a process, so all tests name the same.
    const Environment environment_{{{"MW_PROJECTS_DIR", "/projects"}, {"MW_DATA_DIR", "/data"}}};
    MemoryFileMgr files_;
    OSReplacement<iFileMgr> filesReplaced_{files_};
    TestDesktop desktop_;
    OSReplacement<iDesktop> desktopReplaced_{desktop_};
    TestClock clock_;
    OSReplacement<iDebugger> clockReplaced_{clock_};
};
