#include "Mw/Assert.h"

#include <atomic>
#include <string_view>

namespace Mw
{

namespace
{

std::atomic<std::FILE*> theStream{nullptr};

// "…/misc/media/FrameRate.cpp" to "misc" and "FrameRate"; a file elsewhere has no folder.
struct Module
{
    std::string_view folder;
    std::string_view name;
};

Module moduleOf(std::string_view file)
{
    const auto lastSlash = file.rfind('/');
    std::string_view name = lastSlash == file.npos ? file : file.substr(lastSlash + 1);
    if (const auto dot = name.rfind('.'); dot != name.npos)
        name = name.substr(0, dot);
    for (const std::string_view folder : {"misc", "Mw", "libmw", "OS"})
    {
        const auto at = file.rfind(folder);
        const bool starts = at != file.npos && (at == 0 || file[at - 1] == '/');
        if (starts && at + folder.size() < file.size() && file[at + folder.size()] == '/')
            return {folder, name};
    }
    return {{}, name};
}

} // namespace

std::FILE* diagnosticStream() noexcept
{
    std::FILE* const stream = theStream.load(std::memory_order_acquire);
    return stream != nullptr ? stream : stdout;
}

void setDiagnosticStream(std::FILE* stream) noexcept
{
    theStream.store(stream, std::memory_order_release);
}

void assertionFailed(const char* condition, const char* location) noexcept
{
    std::fprintf(diagnosticStream(), "assertion failed %s at %s\n", condition, location);
}

void assertionFailed(const char* condition, const char* file, int line) noexcept
{
    const Module module = moduleOf(file);
    std::fprintf(diagnosticStream(), "assertion failed %s at %.*s%s%.*s line %d\n", condition,
                 static_cast<int>(module.folder.size()), module.folder.data(), module.folder.empty() ? "" : "/",
                 static_cast<int>(module.name.size()), module.name.data(), line);
}

} // namespace Mw
