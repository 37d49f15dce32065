#include "OS/Immortal.h"
#include "OS/OS.h"
#include "OS/SystemInfo.h"
#include "OS/linux/NativePath.h"

#include <algorithm>
#include <cstdio>
#include <dlfcn.h>
#include <sched.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace
{

using Wide = LightweightString<wchar_t>;

class NativeDiskDrive : public iDiskDrive
{
public:
    explicit NativeDiskDrive(const Wide& path) : path_(path) {}

    Wide path() override { return path_; }
    std::uint64_t freeBytes() override { return bytes(&statvfs_t::f_bavail); }
    std::uint64_t totalBytes() override { return bytes(&statvfs_t::f_blocks); }

private:
    using statvfs_t = struct statvfs;

    std::uint64_t bytes(fsblkcnt_t statvfs_t::*blocks)
    {
        statvfs_t info;
        return ::statvfs(nativePath(path_).c_str(), &info) == 0 ? info.*blocks * info.f_frsize : 0;
    }

    const Wide path_;
};

class NativeDLL : public iDLL
{
public:
    explicit NativeDLL(const Wide& path)
    {
        const LightweightString<char> name = nativePath(path);
        // The system takes an empty name for the program itself.
        if (name.empty())
            error_ = "No such file or directory";
        else if ((handle_ = ::dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL)) == nullptr)
            error_ = ::dlerror();
    }
    ~NativeDLL() override
    {
        if (handle_ != nullptr)
            ::dlclose(handle_);
    }

    bool isLoaded() override { return handle_ != nullptr; }
    void* symbol(const char* name) override { return handle_ != nullptr ? ::dlsym(handle_, name) : nullptr; }
    LightweightString<char> lastError() override { return error_; }

private:
    void* handle_ = nullptr;
    LightweightString<char> error_;
};

// Resident pages of this process; 0 if the system doesn't tell.
std::uint64_t residentPages()
{
    std::FILE* const file = std::fopen("/proc/self/statm", "re");
    if (file == nullptr)
        return 0;
    unsigned long long total = 0;
    unsigned long long resident = 0;
    const int fields = std::fscanf(file, "%llu %llu", &total, &resident);
    std::fclose(file);
    return fields == 2 ? resident : 0;
}

// From /proc/meminfo, whose lines are "Name:  number kB".
bool readMemoryTable(iSystemInfo::MemoryInfo& info)
{
    std::FILE* const file = std::fopen("/proc/meminfo", "re");
    if (file == nullptr)
        return false;
    char line[256];
    while (std::fgets(line, sizeof line, file) != nullptr)
    {
        unsigned long long kilobytes = 0;
        if (std::sscanf(line, "MemTotal: %llu", &kilobytes) == 1)
            info.totalBytes = kilobytes * 1024;
        else if (std::sscanf(line, "MemAvailable: %llu", &kilobytes) == 1)
            info.availableBytes = kilobytes * 1024;
    }
    std::fclose(file);
    return info.totalBytes != 0;
}

class NativeSystemInfo : public iSystemInfo
{
public:
    bool getMemoryInfo(MemoryInfo& info) override
    {
        info = {};
        info.processBytes = residentPages() * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
        if (readMemoryTable(info))
            return true;
        info = {};
        return false;
    }

    LightweightString<char> getRegistryValue(const LightweightString<char>&, const LightweightString<char>&,
                                             const LightweightString<char>&) override
    {
        return {};
    }

    int processorCount() override
    {
        cpu_set_t allowed;
        if (::sched_getaffinity(0, sizeof allowed, &allowed) == 0)
            return std::max(CPU_COUNT(&allowed), 1);
        return static_cast<int>(std::max(::sysconf(_SC_NPROCESSORS_ONLN), 1L));
    }

    Mw::Ptr<iDiskDrive> diskDrive(const Wide& path) override { return Mw::Ptr<iDiskDrive>(new NativeDiskDrive(path)); }

    Mw::Ptr<iDLL> loadDLL(const Wide& path) override { return Mw::Ptr<iDLL>(new NativeDLL(path)); }
};

} // namespace

iSystemInfo& OperatingSystem::standardSystemInfo()
{
    return immortal<NativeSystemInfo>();
}
