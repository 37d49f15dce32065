#include "misc/text/JSON.h"

#include "OS/FileMgr.h"
#include "OS/OS.h"
#include "libmw/Text.h"
#include "misc/base/ByteBufferImpl.h"

#include <limits>

namespace JSON
{

namespace
{

constexpr std::size_t longestBytes = std::numeric_limits<unsigned>::max();

// Null for what has no length that the reader takes.
Mw::Ptr<Element> parseBytes(const void* text, std::size_t sizeBytes, Failure* failure)
{
    if (sizeBytes > longestBytes)
    {
        if (failure != nullptr)
            *failure = {0, 0, "it is longer than 4 GiB"};
        return nullptr;
    }
    const Parser parser(static_cast<const char*>(text), static_cast<unsigned>(sizeBytes));
    if (failure != nullptr)
        *failure = parser.failure();
    return parser.result();
}

Mw::Ptr<Element> parseFileBytes(const LightweightString<wchar_t>& path, Failure* failure)
{
    const Mw::Ptr<iFile> file = OS().fileMgr().openFile(path);
    if (file->isOpen() && file->size() <= longestBytes)
    {
        const ByteBuffer bytes(new ByteBufferImpl(static_cast<std::size_t>(file->size())));
        const std::int64_t read = file->read(bytes->data(), bytes->capacity(), 0);
        if (read >= 0)
        {
            bytes->setLength(static_cast<std::size_t>(read));
            return parseBytes(bytes->data(), bytes->length(), failure);
        }
    }
    else if (file->isOpen())
        return parseBytes(nullptr, static_cast<std::size_t>(file->size()), failure);
    if (failure != nullptr)
        *failure = {0, 0, file->lastError()};
    return nullptr;
}

} // namespace

Mw::Ptr<Element> parse(const LightweightString<char>& text)
{
    return parseBytes(text.c_str(), text.length(), nullptr);
}

Mw::Ptr<Element> parse(const LightweightString<char>& text, Failure& failure)
{
    return parseBytes(text.c_str(), text.length(), &failure);
}

Mw::Ptr<Element> parse(const LightweightString<wchar_t>& text)
{
    return parse(toUTF8(text));
}

Mw::Ptr<Element> parse(const Mw::Ptr<iMemHolder>& text)
{
    return text ? parseBytes(text->data(), text->sizeBytes(), nullptr) : nullptr;
}

Mw::Ptr<Element> parseFile(const LightweightString<wchar_t>& path)
{
    return parseFileBytes(path, nullptr);
}

Mw::Ptr<Element> parseFile(const LightweightString<wchar_t>& path, Failure& failure)
{
    return parseFileBytes(path, &failure);
}

} // namespace JSON
