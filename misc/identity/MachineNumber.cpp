#include "misc/identity/MachineNumber.h"

#include "OS/Debugger.h"
#include "OS/Desktop.h"
#include "OS/FileMgr.h"
#include "OS/OS.h"
#include "OS/SystemInfo.h"
#include "libmw/CriticalSection.h"
#include "libmw/Text.h"
#include "misc/base/TextFile.h"
#include "misc/diagnostics/Log.h"
#include "misc/identity/Cookie.h"
#include "misc/identity/NumberFileLock.h"
#include "misc/settings/RegistryConfig.h"
#include "misc/settings/ValueText.h"

#include <cstdint>
#include <cstdlib>

constinit std::atomic<int> Cookie::localMachineNumber_{0};

int Cookie::getLocalMachineNumber()
{
    // Two threads may look it up at once: they find the same number.
    int machine = localMachineNumber_.load(std::memory_order_relaxed);
    if (!isValidMachineNum(machine))
    {
        machine = our_machine_number_get_from_file();
        localMachineNumber_.store(machine, std::memory_order_relaxed);
    }
    return machine;
}

namespace
{

using Path = LightweightString<wchar_t>;

constexpr wchar_t fileName[] = L"machine.num";

// For the threads of a process where the disk knows no locks.
constinit CriticalSection theMakingLock("machine number");

int numberFromRegistry()
{
    const LightweightString<char> text = OS().systemInfo().getRegistryValue(
        "HKEY_LOCAL_MACHINE\\SOFTWARE\\Marrowline\\Configuration", "machine.num", "wow32");
    return Mw::valuetext::toInt(text.c_str());
}

// In the user's data directory, which is made.
Path pathInUserData()
{
    const Path directory = OS().desktop().getUserDataPath(OS().fileMgr().getApplicationName());
    OS().fileMgr().ensureDirectory(directory);
    return Mw::joinPath(directory, fileName);
}

void makeUpNumber(const Path& path)
{
    // Microseconds: machines that were set up alike, or were started together, draw different numbers.
    std::srand(static_cast<unsigned>(static_cast<std::uint64_t>(OS().debugger().getClock())));
    int number;
    do
        number = std::rand() % 2700;
    while (!isValidMachineNum(number));

    TextFile file;
    file.appendLine(StringFromInteger(number));
    file.save(path);
}

// Whether there is no file, which is no reason for a word. Tells of one that can't be opened.
bool isAbsent(iFile& unopened, const Path& path)
{
    const std::optional<iFileMgr::Status> status = OS().fileMgr().status(path);
    if (status && !status->exists)
        return true;
    LogStringBoth(
        ("our_machine_number_get_from_file() : could not open " + toUTF8(path) + ": " + unopened.lastError() + "\n")
            .c_str());
    return false;
}

// A file that can't be opened may hold the number of this machine and is left alone. Of several threads or
// processes of a first run one makes up the number, and all find it.
Mw::Ptr<iFile> openOrMakeUp(const Path& path)
{
    Mw::Ptr<iFile> file = OS().fileMgr().openFile(path);
    if (file->isOpen())
        return file;
    const CriticalSection::Lock making(theMakingLock);
    const NumberFileLock lock(path);
    file = OS().fileMgr().openFile(path);
    if (file->isOpen() || !isAbsent(*file, path) || !lock.isHeld())
        return file;
    makeUpNumber(path);
    return OS().fileMgr().openFile(path);
}

Mw::Ptr<iFile> openNumberFile()
{
    for (const Path path : {L"c:\\machine.num", fileName})
    {
        const Mw::Ptr<iFile> file = OS().fileMgr().openFile(path);
        if (file->isOpen())
            return file;
        isAbsent(*file, path);
    }
    return openOrMakeUp(pathInUserData());
}

// 0 if there is none that a machine can have.
int numberIn(iFile& file)
{
    char text[33 + 1] = {};
    if (!file.isOpen() || file.read(text, sizeof text - 1, 0) <= 0)
        return 0;
    const int number = Mw::valuetext::toInt(text);
    return isValidMachineNum(number) ? number : 0;
}

} // namespace

int our_machine_number_get_from_file()
{
    if (const int number = GlobalConfig().getValue("machine.num", 0, ""))
        return number;
    if (const int number = numberFromRegistry())
        return number;
    if (const int number = numberIn(*openNumberFile()))
        return number;
    LogStringBoth("\n*********************************************************\n"
                  "***                                                   ***\n"
                  "***  !! WARNING !!  Cannot find valid Machine Number. ***\n"
                  "***                                                   ***\n"
                  "***  You are strongly advised to ABORT and get help.  ***\n"
                  "***                                                   ***\n"
                  "*********************************************************\n");
    return 0;
}
