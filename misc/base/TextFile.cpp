#include "misc/base/TextFile.h"

#include "OS/FileMgr.h"
#include "OS/OS.h"

#include <algorithm>

namespace
{

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

// Reads the whole file. False, with the reason in `error`, on failure.
bool readWhole(const LightweightString<wchar_t>& path, std::basic_string<char>& contents,
               LightweightString<char>& error)
{
    const Mw::Ptr<iFile> file = OS().fileMgr().openFile(path);
    const std::uint64_t size = file->isOpen() ? file->size() : 0;
    error = file->lastError();
    // A size that can't be told is no empty file.
    if (!error.empty())
        return false;
    contents.resize(size);
    const std::int64_t count = file->read(contents.data(), contents.size(), 0);
    contents.resize(static_cast<std::size_t>(std::max<std::int64_t>(count, 0)));
    error = count < 0 ? file->lastError() : LightweightString<char>();
    return count >= 0;
}

} // namespace

void TextFile::appendLine(std::string_view text, std::size_t indentation)
{
    text_.append(indentation, ' ');
    for (;;)
    {
        const std::size_t end = text.find('\n');
        endLineWith(text.substr(0, end));
        if (end == text.npos)
            return;
        text.remove_prefix(end + 1);
    }
}

void TextFile::endLineWith(std::string_view text)
{
    if (text.ends_with('\r'))
        text.remove_suffix(1);
    text_.append(text);
    lineEnds_.push_back(text_.size());
    text_.push_back('\n');
}

void TextFile::reserve(std::size_t moreBytes, std::size_t moreLines)
{
    text_.reserve(text_.size() + moreBytes + moreLines);
    const std::size_t lines = lineEnds_.size() + moreLines;
    if (lines > lineEnds_.capacity())
        lineEnds_.reserve(std::max(lines, 2 * lineEnds_.capacity()));
}

void TextFile::clear() noexcept
{
    text_.clear();
    lineEnds_.clear();
}

bool TextFile::load(const LightweightString<wchar_t>& path, LightweightString<char>* error)
{
    std::string contents;
    LightweightString<char> reason;
    const bool good = readWhole(path, contents, reason);
    if (error != nullptr)
        *error = reason;
    if (!good)
        return false;
    clear();
    text_.reserve(contents.size() + 1);
    std::string_view rest = contents;
    if (rest.starts_with(byteOrderMark))
        rest.remove_prefix(byteOrderMark.size());
    // The end of the last line begins no other.
    if (rest.ends_with('\n'))
        rest.remove_suffix(1);
    else if (rest.empty())
        return true;
    appendLine(rest);
    return true;
}

bool TextFile::save(const LightweightString<wchar_t>& path, LightweightString<char>* error) const
{
    return Mw::replaceFile(path, text_.data(), text_.size(), error);
}
