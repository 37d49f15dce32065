#include "OS/Desktop.h"
#include "OS/FileMgr.h"
#include "OS/Immortal.h"
#include "OS/OS.h"
#include "OS/linux/NativeFile.h"
#include "OS/linux/NativePath.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

using Wide = LightweightString<wchar_t>;

struct FreeDeleter
{
    void operator()(char* block) const { std::free(block); }
};
using SystemText = std::unique_ptr<char, FreeDeleter>;

Wide executable()
{
    std::string path(256, '\0');
    for (;;)
    {
        const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
        if (length < 0)
            return {};
        if (static_cast<std::size_t>(length) < path.size())
        {
            path.resize(static_cast<std::size_t>(length));
            return widePath(path.c_str());
        }
        path.resize(path.size() * 2);
    }
}

Wide lastPartOf(const Wide& path)
{
    const wchar_t* const slash = std::wcsrchr(path.c_str(), L'/');
    return slash != nullptr ? Wide(slash + 1) : path;
}

bool isDirectoryEntry(int directory, const dirent& entry)
{
    if (entry.d_type != DT_UNKNOWN && entry.d_type != DT_LNK)
        return entry.d_type == DT_DIR;
    struct stat info;
    return ::fstatat(directory, entry.d_name, &info, 0) == 0 && S_ISDIR(info.st_mode);
}

class NativeFileMgr : public iFileMgr
{
public:
    Mw::Ptr<iFile> openFile(const Wide& path, iFile::eAccess access, iFile::eOpenBehaviour behaviour,
                            iFile::eSharing sharing, unsigned hints, unsigned mode) override
    {
        return Mw::Ptr<iFile>(new NativeFile(path, access, behaviour, sharing, hints, mode));
    }

    Wide getApplicationName() override
    {
        const std::lock_guard lock(mutex_);
        if (applicationName_.empty())
            applicationName_ = lastPartOf(executable());
        return applicationName_;
    }

    void setApplicationName(const Wide& name) override
    {
        const std::lock_guard lock(mutex_);
        applicationName_ = name;
    }

    wchar_t pathSeparator() override { return L'/'; }

    std::optional<Status> status(const Wide& path) override
    {
        struct stat info;
        if (::stat(nativePath(path).c_str(), &info) == 0)
            return Status{true, S_ISDIR(info.st_mode), info.st_mode & 07777u};
        if (errno == ENOENT || errno == ENOTDIR)
            return Status{};
        keep(-1);
        return std::nullopt;
    }

    bool exists(const Wide& path) override
    {
        struct stat info;
        return keep(::stat(nativePath(path).c_str(), &info));
    }

    bool isDirectory(const Wide& path) override
    {
        struct stat info;
        return keep(::stat(nativePath(path).c_str(), &info)) && S_ISDIR(info.st_mode);
    }

    bool ensureDirectory(const Wide& path) override;

    bool rename(const Wide& from, const Wide& to) override
    {
        return keep(::rename(nativePath(from).c_str(), nativePath(to).c_str()));
    }

    bool remove(const Wide& path) override { return keep(std::remove(nativePath(path).c_str())); }

    bool syncDirectory(const Wide& path) override { return sync(nativePath(path).c_str()); }

    bool list(const Wide& directory, const Wide& pattern, std::vector<Entry>& entries) override;

    Wide resolve(const Wide& path) override;

    Wide workingDirectory() override
    {
        const SystemText path(::getcwd(nullptr, 0));
        return keep(path != nullptr ? 0 : -1) ? widePath(path.get()) : Wide();
    }

    bool setWorkingDirectory(const Wide& path) override { return keep(::chdir(nativePath(path).c_str())); }

    Wide temporaryDirectory() override
    {
        const char* const path = std::getenv("TMPDIR");
        return path != nullptr && path[0] == '/' ? widePath(path) : Wide(L"/tmp");
    }

    Wide executablePath() override { return executable(); }

    Wide findConfigurationFile(const Wide& name) override;

private:
    static bool sync(const char* directory)
    {
        const int descriptor = ::open(directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (!keep(descriptor))
            return false;
        const bool good = keep(::fsync(descriptor));
        ::close(descriptor);
        return good;
    }

    // Puts the name of a directory that was made on the disk. One that this user may not read can't be
    // flushed, and is no reason to go without.
    static bool syncParent(const std::string& made)
    {
        const std::size_t slash = made.find_last_of('/');
        const std::string parent = slash == made.npos ? "." : made.substr(0, std::max<std::size_t>(slash, 1));
        return sync(parent.c_str()) || errno == EACCES;
    }

    // Keeps the system's reason if a call gave less than 0.
    static bool keep(int result)
    {
        char text[256];
        return result >= 0 || fail(::strerror_r(errno, text, sizeof text));
    }

    std::mutex mutex_;
    Wide applicationName_;
};

bool NativeFileMgr::ensureDirectory(const Wide& path)
{
    const LightweightString<char> name = nativePath(path);
    std::string made(name.c_str());
    // From the front, so that a parent stands before its child is made.
    for (std::size_t at = 1; at <= made.size(); ++at)
    {
        if (at != made.size() && made[at] != '/')
            continue;
        const char next = std::exchange(made[at], '\0');
        if (::mkdir(made.c_str(), 0777) == 0)
        {
            if (!syncParent(made.c_str()))
                return false;
        }
        else if (errno != EEXIST)
        {
            const int reason = errno;
            if (::access(made.c_str(), F_OK) != 0)
            {
                errno = reason;
                return keep(-1);
            }
        }
        made[at] = next;
    }
    struct stat info;
    if (!keep(::stat(name.c_str(), &info)))
        return false;
    if (!S_ISDIR(info.st_mode))
        return fail("Not a directory");
    return true;
}

bool NativeFileMgr::list(const Wide& directory, const Wide& pattern, std::vector<Entry>& entries)
{
    DIR* const stream = ::opendir(nativePath(directory).c_str());
    if (stream == nullptr)
        return keep(-1);
    const std::size_t first = entries.size();
    errno = 0;
    while (const dirent* const entry = ::readdir(stream))
    {
        const bool isDots = std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0;
        if (Wide name = widePath(entry->d_name); !isDots && Mw::matchesWildcards(name, pattern))
            entries.push_back({std::move(name), isDirectoryEntry(::dirfd(stream), *entry)});
        errno = 0;
    }
    const bool good = keep(errno != 0 ? -1 : 0);
    ::closedir(stream);
    std::sort(entries.begin() + static_cast<std::ptrdiff_t>(first), entries.end(),
              [](const Entry& a, const Entry& b) { return std::wcscmp(a.name.c_str(), b.name.c_str()) < 0; });
    return good;
}

Wide NativeFileMgr::resolve(const Wide& path)
{
    std::string name(nativePath(path).c_str());
    // As many links as the system itself follows.
    for (int links = 0; links < 40; ++links)
    {
        if (const SystemText whole(::realpath(name.c_str(), nullptr)); whole != nullptr)
            return widePath(whole.get());
        if (errno != ENOENT || name.empty())
            break;
        // The last part does not exist, or it is a link to what does not.
        const std::size_t slash = name.rfind('/');
        const std::string directory = slash == name.npos ? "." : name.substr(0, slash + 1);
        const SystemText parent(::realpath(directory.c_str(), nullptr));
        if (parent == nullptr)
            break;
        const std::string last = std::string(parent.get()) + '/' + name.substr(slash + 1);
        char link[PATH_MAX];
        const ssize_t length = ::readlink(last.c_str(), link, sizeof link);
        if (length < 0)
            return widePath(last.c_str());
        const std::string target(link, static_cast<std::size_t>(length));
        name = target.starts_with('/') ? target : std::string(parent.get()) + '/' + target;
    }
    keep(-1);
    return {};
}

Wide NativeFileMgr::findConfigurationFile(const Wide& name)
{
    const Wide application = OS().fileMgr().getApplicationName();
    iDesktop& desktop = OS().desktop();
    for (const Wide& directory : {desktop.getUserConfigPath(application), desktop.getMachineConfigPath(application),
                                  Mw::directoryOf(executable())})
    {
        const Wide path = Mw::joinPath(directory, name);
        if (OS().fileMgr().exists(path))
            return path;
    }
    return {};
}

} // namespace

iFileMgr& OperatingSystem::standardFileMgr()
{
    return immortal<NativeFileMgr>();
}
