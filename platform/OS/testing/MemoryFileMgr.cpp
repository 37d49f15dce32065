#include "OS/testing/MemoryFileMgr.h"

#include "OS/Debugger.h"
#include "OS/Desktop.h"
#include "OS/OS.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <mutex>
#include <string_view>
#include <utility>

namespace
{

using Path = MemoryFileMgr::Path;

constexpr std::uint64_t largestFileBytes = std::uint64_t{1} << 32;
constexpr const char* noSuchFile = "No such file or directory";

// Absolute, without "." and ".." and doubled separators.
Path normalised(const Path& path, const Path& workingDirectory)
{
    if (path.empty())
        return {};
    Path whole = path.front() == L'/' ? path : workingDirectory + L"/" + path;
    Path result;
    for (std::wstring_view rest = whole; !rest.empty();)
    {
        const std::size_t end = std::min(rest.find(L'/'), rest.size());
        const std::wstring_view part = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (part == L"..")
            result.erase(result.empty() ? 0 : result.rfind(L'/'));
        else if (!part.empty() && part != L".")
            result = result + L"/" + part;
    }
    return result.empty() ? Path(L"/") : result;
}

Path parentOf(const Path& path)
{
    const unsigned slash = path.rfind(L'/');
    return slash == 0 ? Path(L"/") : path.substr(0, slash);
}

bool isBelow(const Path& path, const Path& directory)
{
    return directory == L"/" ? path.length() > 1 : path.startsWith((directory + L"/").c_str());
}

} // namespace

struct MemoryFileMgr::Disk
{
    struct Node
    {
        bool isDirectory = false;
        std::vector<char> contents;
        std::vector<char> flushed; // what is on the disk
        unsigned mode = 0644;
        double modificationTime = 0;
        std::uint64_t number = 0;
        int sharedLocks = 0;
        bool exclusiveLock = false;
    };
    using Names = std::map<Path, std::shared_ptr<Node>>;

    std::shared_ptr<Node> find(const Path& path) const
    {
        const auto found = names.find(path);
        return found != names.end() ? found->second : nullptr;
    }

    bool isDirectory(const Path& path) const
    {
        const std::shared_ptr<Node> node = find(path);
        return node != nullptr && node->isDirectory;
    }

    std::shared_ptr<Node> make(const Path& path, bool isDirectory, unsigned mode)
    {
        auto node = std::make_shared<Node>();
        node->isDirectory = isDirectory;
        node->mode = mode;
        node->number = ++nodesMade;
        node->modificationTime = OS().debugger().getClock() * 1e-6;
        names[path] = node;
        return node;
    }

    Path absolute(const Path& path) const { return normalised(path, workingDirectory); }

    std::mutex mutex;
    Names names;
    Names flushedNames; // what is on the disk
    Path workingDirectory = L"/home";
    Path applicationName = L"application";
    std::uint64_t nodesMade = 0;
};

class MemoryFileMgr::File : public iFile
{
public:
    File(const Path& path, Disk& disk) : path_(path), disk_(disk) {}
    ~File() override { close(); }

    void open(const std::shared_ptr<Disk::Node>& node, eAccess access)
    {
        node_ = node;
        access_ = access;
    }
    bool fail(const char* reason)
    {
        error_ = reason;
        return false;
    }
    bool lockHeld(eLock kind)
    {
        releaseLock();
        if (node_->exclusiveLock || (kind == eLockExclusive && node_->sharedLocks != 0))
            return fail("Resource temporarily unavailable");
        if (kind == eLockExclusive)
            node_->exclusiveLock = true;
        else
            ++node_->sharedLocks;
        held_ = kind == eLockExclusive ? Held::exclusive : Held::shared;
        return true;
    }

    LightweightString<wchar_t> path() override { return path_; }

    std::int64_t read(void* buffer, std::size_t sizeBytes, std::uint64_t offset) override
    {
        const std::lock_guard lock(disk_.mutex);
        if (!allows(eRead))
            return -1;
        const std::vector<char>& contents = node_->contents;
        if (offset >= contents.size())
            return 0;
        const std::size_t count = std::min<std::size_t>(sizeBytes, contents.size() - offset);
        std::memcpy(buffer, contents.data() + offset, count);
        return static_cast<std::int64_t>(count);
    }

    LightweightString<char> lastError() override { return error_; }

    // One that another opening holds is never waited for.
    bool lock(eLock kind, eLockWait) override
    {
        const std::lock_guard lock(disk_.mutex);
        return allows(0) && lockHeld(kind);
    }

    bool unlock() override
    {
        const std::lock_guard lock(disk_.mutex);
        releaseLock();
        return allows(0);
    }

    std::int64_t write(const void* data, std::size_t sizeBytes, std::uint64_t offset) override
    {
        const std::lock_guard lock(disk_.mutex);
        if (!allows(eWrite))
            return -1;
        if (sizeBytes == 0)
            return 0;
        if (offset > largestFileBytes || sizeBytes > largestFileBytes - offset)
        {
            fail("File too large");
            return -1;
        }
        std::vector<char>& contents = node_->contents;
        contents.resize(std::max<std::size_t>(contents.size(), offset + sizeBytes));
        std::memcpy(contents.data() + offset, data, sizeBytes);
        touch();
        return static_cast<std::int64_t>(sizeBytes);
    }

    bool flushToDisk() override
    {
        const std::lock_guard lock(disk_.mutex);
        if (!allows(0))
            return false;
        node_->flushed = node_->contents;
        return true;
    }

    bool truncate(std::uint64_t sizeBytes) override
    {
        const std::lock_guard lock(disk_.mutex);
        if (!allows(eWrite))
            return false;
        if (sizeBytes > largestFileBytes)
            return fail("File too large");
        node_->contents.resize(sizeBytes);
        touch();
        return true;
    }

    bool close() override
    {
        const std::lock_guard lock(disk_.mutex);
        if (!allows(0))
            return false;
        releaseLock();
        node_ = nullptr;
        return true;
    }

    double modificationTime() override
    {
        const std::lock_guard lock(disk_.mutex);
        return allows(0) ? node_->modificationTime : 0;
    }

    bool setModificationTime(double seconds) override
    {
        const std::lock_guard lock(disk_.mutex);
        if (!allows(0))
            return false;
        node_->modificationTime = seconds;
        return true;
    }

    unsigned mode() override
    {
        const std::lock_guard lock(disk_.mutex);
        return allows(0) ? node_->mode : 0;
    }

    bool setMode(unsigned mode) override
    {
        const std::lock_guard lock(disk_.mutex);
        if (!allows(0))
            return false;
        node_->mode = mode;
        return true;
    }

    std::uint64_t size() override
    {
        const std::lock_guard lock(disk_.mutex);
        return allows(0) ? node_->contents.size() : 0;
    }

    Identity identity() override
    {
        const std::lock_guard lock(disk_.mutex);
        return allows(0) ? Identity{0, node_->number} : Identity{};
    }

    bool isOpen() override
    {
        const std::lock_guard lock(disk_.mutex);
        return node_ != nullptr;
    }

    unsigned getCaps() override { return eCapSeek | eCapResize; }

private:
    enum class Held
    {
        nothing,
        shared,
        exclusive
    };

    // Whether the file is open, for the access asked for if any.
    bool allows(int access)
    {
        if (node_ == nullptr || (access_ & access) != access)
            return fail("Bad file descriptor");
        error_.clear();
        return true;
    }

    void releaseLock()
    {
        if (held_ == Held::shared)
            --node_->sharedLocks;
        if (held_ == Held::exclusive)
            node_->exclusiveLock = false;
        held_ = Held::nothing;
    }

    void touch() { node_->modificationTime = OS().debugger().getClock() * 1e-6; }

    const Path path_;
    Disk& disk_;
    std::shared_ptr<Disk::Node> node_;
    int access_ = 0;
    Held held_ = Held::nothing;
    LightweightString<char> error_;
};

MemoryFileMgr::MemoryFileMgr() : disk_(std::make_unique<Disk>())
{
    for (const wchar_t* const directory : {L"/", L"/home", L"/tmp"})
        disk_->make(directory, true, 0755);
    disk_->flushedNames = disk_->names;
}

MemoryFileMgr::~MemoryFileMgr() = default;

void MemoryFileMgr::loseUnflushed()
{
    const std::lock_guard lock(disk_->mutex);
    Disk::Names left;
    for (const auto& [path, node] : disk_->flushedNames)
    {
        // What lies below a directory that was lost, or replaced, is lost with it.
        const bool reachable = path == L"/" || (left.contains(parentOf(path)) && left[parentOf(path)]->isDirectory);
        if (!reachable)
            continue;
        auto copy = std::make_shared<Disk::Node>(*node);
        copy->contents = copy->flushed;
        copy->sharedLocks = 0;
        copy->exclusiveLock = false;
        left[path] = copy;
    }
    disk_->names = left;
    disk_->flushedNames = left;
}

Mw::Ptr<iFile> MemoryFileMgr::openFile(const Path& path, iFile::eAccess access, iFile::eOpenBehaviour behaviour,
                                       iFile::eSharing sharing, unsigned, unsigned mode)
{
    const Mw::Ptr<File> file(new File(path, *disk_));
    const std::lock_guard lock(disk_->mutex);
    const Path name = disk_->absolute(path);
    std::shared_ptr<Disk::Node> node = disk_->find(name);
    if (node != nullptr && node->isDirectory)
        file->fail("Is a directory");
    else if (node != nullptr && behaviour == iFile::eCreateNew)
        file->fail("File exists");
    else if (node == nullptr &&
             (behaviour == iFile::eOpenExisting || name.empty() || !disk_->isDirectory(parentOf(name))))
        file->fail(noSuchFile);
    else
    {
        if (node == nullptr)
            node = disk_->make(name, false, mode & 0755u);
        file->open(node, access);
        if (sharing == iFile::eShareExclusive && !file->lockHeld(iFile::eLockExclusive))
            file->open(nullptr, access);
        else if (behaviour == iFile::eCreateAlways)
            node->contents.clear();
    }
    return file;
}

MemoryFileMgr::Path MemoryFileMgr::getApplicationName()
{
    const std::lock_guard lock(disk_->mutex);
    return disk_->applicationName;
}

void MemoryFileMgr::setApplicationName(const Path& name)
{
    const std::lock_guard lock(disk_->mutex);
    disk_->applicationName = name.empty() ? Path(L"application") : name;
}

std::optional<iFileMgr::Status> MemoryFileMgr::status(const Path& path)
{
    const std::lock_guard lock(disk_->mutex);
    const std::shared_ptr<Disk::Node> node = disk_->find(disk_->absolute(path));
    return node != nullptr ? Status{true, node->isDirectory, node->mode} : Status{};
}

bool MemoryFileMgr::exists(const Path& path)
{
    const std::lock_guard lock(disk_->mutex);
    return disk_->find(disk_->absolute(path)) != nullptr || fail(noSuchFile);
}

bool MemoryFileMgr::isDirectory(const Path& path)
{
    const std::lock_guard lock(disk_->mutex);
    return disk_->isDirectory(disk_->absolute(path));
}

bool MemoryFileMgr::ensureDirectory(const Path& path)
{
    const std::lock_guard lock(disk_->mutex);
    const Path whole = disk_->absolute(path);
    if (whole.empty())
        return fail(noSuchFile);
    for (unsigned end = 1; end <= whole.length(); ++end)
        if (end == whole.length() || whole.c_str()[end] == L'/')
        {
            const Path part = whole.substr(0, end);
            if (disk_->find(part) == nullptr)
                disk_->flushedNames[part] = disk_->make(part, true, 0755);
            else if (!disk_->isDirectory(part))
                return fail("Not a directory");
        }
    return true;
}

bool MemoryFileMgr::rename(const Path& from, const Path& to)
{
    const std::lock_guard lock(disk_->mutex);
    const Path source = disk_->absolute(from);
    const Path target = disk_->absolute(to);
    const std::shared_ptr<Disk::Node> node = disk_->find(source);
    if (node == nullptr || target.empty() || !disk_->isDirectory(parentOf(target)))
        return fail(noSuchFile);
    if (source == target)
        return true;
    if (disk_->isDirectory(target) || (node->isDirectory && (disk_->find(target) || isBelow(target, source))))
        return fail("Invalid argument");
    Disk::Names moved;
    for (auto it = disk_->names.begin(); it != disk_->names.end();)
        if (it->first == source || (node->isDirectory && isBelow(it->first, source)))
        {
            moved[target + it->first.substr(source.length())] = it->second;
            it = disk_->names.erase(it);
        }
        else
            ++it;
    for (const auto& [path, movedNode] : moved)
        disk_->names[path] = movedNode;
    return true;
}

bool MemoryFileMgr::remove(const Path& path)
{
    const std::lock_guard lock(disk_->mutex);
    const Path name = disk_->absolute(path);
    if (disk_->find(name) == nullptr)
        return fail(noSuchFile);
    for (const auto& [other, node] : disk_->names)
        if (isBelow(other, name))
            return fail("Directory not empty");
    disk_->names.erase(name);
    return true;
}

bool MemoryFileMgr::syncDirectory(const Path& path)
{
    const std::lock_guard lock(disk_->mutex);
    const Path directory = disk_->absolute(path);
    if (!disk_->isDirectory(directory))
        return fail(noSuchFile);
    const auto isIn = [&](const auto& entry) { return entry.first != L"/" && parentOf(entry.first) == directory; };
    std::erase_if(disk_->flushedNames, isIn);
    for (const auto& entry : disk_->names)
        if (isIn(entry))
            disk_->flushedNames.insert(entry);
    return true;
}

bool MemoryFileMgr::list(const Path& directory, const Path& pattern, std::vector<Entry>& entries)
{
    const std::lock_guard lock(disk_->mutex);
    const Path whole = disk_->absolute(directory);
    if (!disk_->isDirectory(whole))
        return fail(noSuchFile);
    for (const auto& [path, node] : disk_->names)
        if (path != L"/" && parentOf(path) == whole)
            if (Path name = path.substr(path.rfind(L'/') + 1); Mw::matchesWildcards(name, pattern))
                entries.push_back({std::move(name), node->isDirectory});
    return true;
}

MemoryFileMgr::Path MemoryFileMgr::resolve(const Path& path)
{
    const std::lock_guard lock(disk_->mutex);
    const Path whole = disk_->absolute(path);
    if (!whole.empty() && disk_->isDirectory(parentOf(whole)))
        return whole;
    fail(noSuchFile);
    return {};
}

MemoryFileMgr::Path MemoryFileMgr::workingDirectory()
{
    const std::lock_guard lock(disk_->mutex);
    return disk_->workingDirectory;
}

bool MemoryFileMgr::setWorkingDirectory(const Path& path)
{
    const std::lock_guard lock(disk_->mutex);
    const Path whole = disk_->absolute(path);
    if (!disk_->isDirectory(whole))
        return fail(noSuchFile);
    disk_->workingDirectory = whole;
    return true;
}

MemoryFileMgr::Path MemoryFileMgr::findConfigurationFile(const Path& name)
{
    const Path application = getApplicationName();
    for (const Path& directory : {OS().desktop().getUserConfigPath(application),
                                  OS().desktop().getMachineConfigPath(application), Path(L"/bin")})
        if (const Path path = Mw::joinPath(directory, name); exists(path))
            return path;
    return {};
}
