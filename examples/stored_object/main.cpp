// Stores a clip and a title, reads back whatever is there, and prints it.

#include "Clip.h"

#include "misc/persistence/StreamObjectManager.h"

#include <cstdio>

namespace
{

// A file is opened by file.open(path, ...) and completed by file.flush(); without one the stream stays in
// memory.
void store(StreamFile& file)
{
    PStream stream(&file);
    stream << Clip(250, "reel 7") << TitleClip(1000, "black", "The End", 36);
}

void print(const Clip& clip)
{
    std::printf("%s: frame %d of %s", clip.className().c_str(), clip.startFrame(), clip.reel().c_str());
    if (const auto* const title = dynamic_cast<const TitleClip*>(&clip))
        std::printf(", \"%s\" in size %d", title->text().c_str(), title->size());
    std::printf("\n");
}

// False if an object could not be read; the reason is the stream's text.
bool printAll(StreamFile& file)
{
    PStream stream(&file);
    file.setPosition(0);
    while (!file.eof() && !stream.failed())
        if (const auto clip = Mw::dynamicCast<Clip>(theSOManager().readObject(stream)))
            print(*clip);
    if (stream.failed())
        std::fprintf(stderr, "stored_object: %s\n", stream.c_str());
    return !stream.failed();
}

} // namespace

int main()
{
    StreamFile file;
    store(file);
    return printAll(file) ? 0 : 1;
}
