#include "OS/FileMgr.h"

#include "OS/Debugger.h"
#include "OS/OS.h"
#include "OS/StreamingFile.h"
#include "OS/ThreadId.h"

#include <atomic>
#include <cstdio>
#include <cwchar>

iFileMgr::~iFileMgr() = default;

Mw::Ptr<iStreamingFile> iFileMgr::openStreamingFile(const LightweightString<wchar_t>& path, iFile::eAccess access,
                                                    iFile::eOpenBehaviour behaviour)
{
    return Mw::Ptr<iStreamingFile>(new StreamingFile(openFile(path, access, behaviour)));
}

namespace
{

// Characters, so that it can be read when the thread's own objects are gone.
thread_local char theLastError[256] = "";

} // namespace

LightweightString<char> iFileMgr::lastError()
{
    return theLastError;
}

bool iFileMgr::fail(const char* reason)
{
    std::snprintf(theLastError, sizeof theLastError, "%s", reason);
    return false;
}

namespace Mw
{

bool matchesWildcards(const LightweightString<wchar_t>& name, const LightweightString<wchar_t>& pattern)
{
    const wchar_t* n = name.c_str();
    const wchar_t* p = pattern.c_str();
    // Where to take up again after the last star, which then stands for one character more.
    const wchar_t* afterStar = nullptr;
    const wchar_t* retry = nullptr;
    while (*n != 0)
    {
        if (*p == L'*')
        {
            afterStar = ++p;
            retry = n;
        }
        else if (*p == L'?' || *p == *n)
        {
            ++p;
            ++n;
        }
        else if (afterStar != nullptr)
        {
            p = afterStar;
            n = ++retry;
        }
        else
            return false;
    }
    while (*p == L'*')
        ++p;
    return *p == 0;
}

LightweightString<wchar_t> joinPath(const LightweightString<wchar_t>& directory, const LightweightString<wchar_t>& name)
{
    if (directory.empty())
        return name;
    const wchar_t separator = OS().fileMgr().pathSeparator();
    LightweightString<wchar_t> path = directory;
    if (directory.c_str()[directory.length() - 1] != separator)
        path.push_back(separator);
    path += name;
    return path;
}

LightweightString<wchar_t> directoryOf(const LightweightString<wchar_t>& path)
{
    const wchar_t separator = OS().fileMgr().pathSeparator();
    const wchar_t* const text = path.c_str();
    unsigned length = path.length();
    while (length > 0 && text[length - 1] != separator)
        --length;
    if (length == 0)
        return L".";
    // The root keeps its separator.
    while (length > 1 && text[length - 1] == separator)
        --length;
    return path.substr(0, length);
}

namespace
{

// A new name for each process and call, in the directory of the file that it will replace.
LightweightString<wchar_t> nameBeside(iFileMgr& files, const LightweightString<wchar_t>& path)
{
    static std::atomic<unsigned> calls{0};
    LightweightString<wchar_t> name;
    do
    {
        wchar_t suffix[64];
        std::swprintf(suffix, 64, L".%llx-%x-%x.TMP", static_cast<unsigned long long>(OS().debugger().getClock()),
                      ThreadId::current(), calls.fetch_add(1));
        name = path + suffix;
    } while (files.exists(name));
    return name;
}

// Writes a new file with `fill`, to the disk, and leaves it closed. On failure there is none.
template <class Fill>
bool writeNew(iFileMgr& files, const LightweightString<wchar_t>& path, std::optional<unsigned> mode, Fill fill,
              LightweightString<char>& reason)
{
    // Never more open than it will be, not even while it is written.
    const Ptr<iFile> file =
        files.openFile(path, iFile::eWrite, iFile::eCreateNew, iFile::eShareAll, iFile::eNoHints, mode.value_or(0666));
    const bool made = file->isOpen();
    if (made && (!mode || file->setMode(*mode)) && fill(*file) && file->flushToDisk() && file->close())
        return true;
    if (reason.empty())
        reason = file->lastError();
    if (made)
        files.remove(path);
    return false;
}

// Puts what `fill` writes in the place of a file, whose permissions it takes unless others are given.
template <class Fill>
bool replaceBy(iFileMgr& files, const LightweightString<wchar_t>& path, std::optional<unsigned> mode, Fill fill,
               LightweightString<char>& reason)
{
    const LightweightString<wchar_t> target = files.resolve(path);
    if (target.empty())
    {
        reason = files.lastError();
        return false;
    }
    if (!mode)
    {
        const std::optional<iFileMgr::Status> old = files.status(target);
        if (!old) // without its permissions the new one might be open to more people
        {
            reason = files.lastError();
            return false;
        }
        if (old->exists)
            mode = old->mode;
    }
    const LightweightString<wchar_t> beside = nameBeside(files, target);
    if (!writeNew(files, beside, mode, fill, reason))
        return false;
    if (!files.rename(beside, target))
    {
        reason = files.lastError();
        files.remove(beside);
        return false;
    }
    if (!files.syncDirectory(directoryOf(target)))
    {
        reason = files.lastError();
        return false;
    }
    return true;
}

bool copyContents(iFile& from, iFile& to, LightweightString<char>& reason)
{
    std::vector<char> buffer(256 * 1024);
    for (std::uint64_t offset = 0;;)
    {
        const std::int64_t count = from.read(buffer.data(), buffer.size(), offset);
        if (count < 0)
            reason = from.lastError();
        if (count <= 0)
            return count == 0;
        if (to.write(buffer.data(), static_cast<std::size_t>(count), offset) != count)
            return false;
        offset += static_cast<std::uint64_t>(count);
    }
}

} // namespace

bool replaceFile(const LightweightString<wchar_t>& path, const void* data, std::size_t sizeBytes,
                 LightweightString<char>* error)
{
    const auto fill = [&](iFile& file)
    { return file.write(data, sizeBytes, 0) == static_cast<std::int64_t>(sizeBytes); };
    LightweightString<char> reason;
    const bool good = replaceBy(OS().fileMgr(), path, std::nullopt, fill, reason);
    if (error != nullptr)
        *error = reason;
    return good;
}

} // namespace Mw

bool iFileMgr::copy(const LightweightString<wchar_t>& from, const LightweightString<wchar_t>& to)
{
    const Mw::Ptr<iFile> source = openFile(from);
    if (!source->isOpen())
        return fail(source->lastError().c_str());
    LightweightString<char> reason;
    const auto fill = [&](iFile& file) { return Mw::copyContents(*source, file, reason); };
    const unsigned mode = source->mode();
    return Mw::replaceBy(*this, to, mode != 0 ? std::optional(mode) : std::nullopt, fill, reason) ||
           fail(reason.c_str());
}
