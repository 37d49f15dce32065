#pragma once

#include "OS/OS.h"
#include "OS/testing/FailingFileMgr.h"
#include "OS/testing/MemoryFileMgr.h"
#include "diagnostics/Support.h"
#include "libmw/Text.h"
#include "misc/settings/RegistryConfig.h"
#include "platform/Environment.h"
#include "platform/HastyClock.h"

#include <string>

using Path = LightweightString<wchar_t>;

inline void write(const Path& path, const std::string& text)
{
    OS().fileMgr().ensureDirectory(Mw::directoryOf(path));
    EXPECT_TRUE(Mw::replaceFile(path, text.data(), text.size()) && OS().fileMgr().syncDirectory(L"/"));
}

// "none" if there is no such file.
inline std::string contents(const Path& path)
{
    const Mw::Ptr<iFile> file = OS().fileMgr().openFile(path);
    std::string text(static_cast<std::size_t>(file->size()), ' ');
    file->read(text.data(), text.size(), 0);
    return file->isOpen() ? text : "none";
}

// A machine of a test's own: files, settings and clock in memory.
class MachineInMemory : public Diagnostics
{
protected:
    MachineInMemory()
    {
        OS().fileMgr().ensureDirectory(L"/projects");
        GlobalConfig().setValue("machine.num", 5, "");
    }

    // Whether it was, of what has been said since the last time.
    bool wasSaid(const std::string& part) { return said().find(part) != std::string::npos; }

    // The jar asks for its directory once in a process, so all tests name the same.
    const Environment environment_{{{"MW_PROJECTS_DIR", "/projects"}, {"MW_DATA_DIR", "/data"}}};
    MemoryFileMgr files_;
    const OSReplacement<iFileMgr> filesReplaced_{files_};
};
