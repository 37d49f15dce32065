// Looks into a file of stored objects without knowing their classes: lists them, says which are whole, and
// writes those into a new file.

#include "Mw/Exception.h"
#include "OS/FileMgr.h"
#include "OS/OS.h"
#include "libmw/Text.h"
#include "misc/diagnostics/Log.h"
#include "misc/persistence/ObjectOutline.h"
#include "misc/persistence/StreamFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

namespace
{

enum ExitStatus
{
    Whole = 0,
    Damaged = 1,
    Unreadable = 2 // the file or the command line, or OUT can't be written
};

constexpr const char* help =
    "Usage: swapcheck [--salvage OUT] FILE\n"
    "Lists the objects of a stored file: where each begins, its length in bytes, whether it is whole, its id, its\n"
    "class, and the layers with their formats. What the fields of a class hold is not looked at.\n"
    "\n"
    "  --salvage OUT  writes the objects that are whole into a new file, as they are; OUT must not exist\n"
    "  --help         this text\n"
    "\n"
    "Behind a damaged object the next one is read if the damaged one tells where it ends.\n"
    "Exit status: 0 the file is whole, 1 a part of it is damaged, 2 it can't be read or has no object that is\n"
    "whole, or OUT can't be written.\n";

struct Arguments
{
    const char* file = nullptr;
    const char* salvage = nullptr;
    bool help = false;
};

// False if they are not as the help says.
bool readArguments(int argc, char** argv, Arguments& arguments)
{
    for (int i = 1; i < argc; ++i)
    {
        const std::string_view word = argv[i];
        if (word == "--help" || word == "-h")
            arguments.help = true;
        else if (word == "--salvage" && i + 1 < argc && arguments.salvage == nullptr)
            arguments.salvage = argv[++i];
        else if (!word.starts_with('-') && arguments.file == nullptr)
            arguments.file = argv[i];
        else
            return false;
    }
    return arguments.help || arguments.file != nullptr;
}

// A text of the file as one that doesn't steer a terminal, and is not longer than a line.
std::string shown(std::string_view text)
{
    constexpr std::size_t longest = 80;
    std::string shown;
    for (const char c : text.substr(0, longest))
        shown += c >= ' ' && c <= '~' ? c : '?';
    return text.size() > longest ? shown + "..." : shown;
}

std::string layersOf(const ObjectOutline& object)
{
    std::string text;
    for (const ObjectOutline::Layer& layer : object.layers())
    {
        text += text.empty() ? "" : ", ";
        text += shown(layer.name) + ' ' + std::to_string(layer.majorRev) + '.' + std::to_string(layer.minorRev);
    }
    return text;
}

void list(const ObjectOutline& object)
{
    const LightweightString<char>& className = object.kind().empty() ? object.hierarchyName() : object.kind();
    std::printf("%10llu %10llu  %-7s  %-17s  %s  (%s)\n", static_cast<unsigned long long>(object.position()),
                static_cast<unsigned long long>(object.length()), object.isWhole() ? "whole" : "damaged",
                object.id().empty() ? "-" : shown(object.id()).c_str(), shown(className).c_str(),
                layersOf(object).c_str());
    if (!object.isWhole())
        std::printf("%33s: %s\n", "damaged", object.damage().c_str());
}

// A stretch of the file.
struct Span
{
    std::uint64_t position;
    std::uint64_t length;
};

struct Findings
{
    std::vector<Span> whole;
    unsigned damaged = 0;
    std::uint64_t unreadBytes = 0; // at the end
};

Findings look(StreamFile& file)
{
    Findings findings;
    std::printf("  position     length  state    id                 class (layers)\n");
    for (std::uint64_t position = 0; position < file.size();)
    {
        const ObjectOutline object(file, position);
        list(object);
        if (object.isWhole())
            findings.whole.push_back({position, object.length()});
        else
            ++findings.damaged;
        if (!object.hasEnd())
        {
            findings.unreadBytes = file.size() - position;
            break;
        }
        position += object.length();
    }
    std::printf("%zu whole, %u damaged", findings.whole.size(), findings.damaged);
    if (findings.unreadBytes != 0)
        std::printf(", the last %llu bytes can't be read", static_cast<unsigned long long>(findings.unreadBytes));
    std::printf("\n");
    return findings;
}

bool fail(const char* path, std::string_view reason)
{
    std::fprintf(stderr, "swapcheck: %s: %.*s\n", path, static_cast<int>(reason.size()), reason.data());
    return false;
}

bool copy(StreamFile& from, const Span& span, StreamFile& to)
{
    constexpr std::uint64_t partBytes = 1 << 20;
    from.setPosition(span.position);
    for (std::uint64_t left = span.length; left != 0;)
    {
        from.cacheForward(from.position() + std::min(left, partBytes));
        const std::string_view bytes = from.cached().substr(0, left);
        if (bytes.empty())
            return false;
        to.write(bytes.data(), static_cast<unsigned>(bytes.size()));
        from.passCached(bytes.size());
        left -= bytes.size();
    }
    return true;
}

bool salvage(StreamFile& from, const std::vector<Span>& objects, const char* path)
{
    // A writer takes the file beside its own for one that was left there, and removes it.
    iFileMgr& files = OS().fileMgr();
    if (files.resolve(files.resolve(fromUTF8(path)) + L".TMP") == files.resolve(from.path()))
        return fail(path, "is written by way of FILE");
    StreamFile out;
    if (!out.open(fromUTF8(path), iFile::eCreateNew))
        return fail(path, out.lastError());
    for (const Span& object : objects)
        if (!copy(from, object, out))
            return fail(path, from.lastError());
    if (!out.flush())
        return fail(path, out.lastError());
    std::printf("%zu written to %s\n", objects.size(), path);
    return true;
}

ExitStatus check(const Arguments& arguments)
{
    StreamFile file;
    if (!file.open(fromUTF8(arguments.file), iFile::eOpenExisting))
    {
        fail(arguments.file, file.lastError());
        return Unreadable;
    }
    const bool isEmpty = file.size() == 0;
    const Findings findings = look(file);
    if (!file.lastError().empty())
    {
        fail(arguments.file, file.lastError());
        return Unreadable;
    }
    if (arguments.salvage != nullptr && !salvage(file, findings.whole, arguments.salvage))
        return Unreadable;
    if (findings.whole.empty() && !isEmpty)
        return Unreadable;
    return findings.damaged == 0 ? Whole : Damaged;
}

} // namespace

int main(int argc, char** argv)
{
    SetLogOutput(stderr);
    Arguments arguments;
    if (!readArguments(argc, argv, arguments))
    {
        std::fputs(help, stderr);
        return Unreadable;
    }
    if (arguments.help)
        return std::fputs(help, stdout) >= 0 && std::fflush(stdout) == 0 ? Whole : Unreadable;
    try
    {
        const ExitStatus status = check(arguments);
        if (std::fflush(stdout) == 0)
            return status;
        fail("standard output", std::strerror(errno));
    }
    catch (const Mw::Exception::Base& e)
    {
        fail(arguments.file, e.message_);
    }
    catch (const std::exception& e)
    {
        fail(arguments.file, e.what());
    }
    return Unreadable;
}
