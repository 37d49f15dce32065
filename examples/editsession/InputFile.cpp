#include "examples/editsession/InputFile.h"

#include "OS/FileMgr.h"
#include "OS/OS.h"
#include "libmw/Text.h"

Text readInputFile(const Text& path, std::size_t limitBytes, std::string& contents)
{
    constexpr std::size_t blockBytes = 64 * 1024;

    const Mw::Ptr<iFile> file = OS().fileMgr().openFile(fromUTF8(path));
    if (!file->isOpen())
        return file->lastError();

    // Until the end rather than for size(), which a pipe doesn't have.
    contents.clear();
    for (;;)
    {
        const std::size_t before = contents.size();
        contents.resize(before + blockBytes);
        const std::int64_t got = file->read(contents.data() + before, blockBytes, before);
        if (got < 0)
            return file->lastError();
        contents.resize(before + static_cast<std::size_t>(got));
        if (contents.size() > limitBytes)
            return formatted("longer than %zu bytes", limitBytes);
        if (got == 0)
            return {};
    }
}
