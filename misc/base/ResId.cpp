#include "misc/base/ResId.h"

#include "OS/FileMgr.h"
#include "OS/Immortal.h"
#include "OS/OS.h"
#include "libmw/Text.h"
#include "misc/base/TextFile.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <iterator>
#include <map>
#include <string_view>
#include <vector>

namespace
{

struct Row
{
    std::uint32_t id;
    const char* text; // UTF-8
};

constexpr Row rows[] = {
#include "misc/base/ResourceTexts.inc"
};
static_assert(std::ranges::adjacent_find(rows, std::ranges::greater_equal(), &Row::id) == std::end(rows),
              "rows are sorted, and each number has one text");

using Text = LightweightString<char>;

// What "strings.txt" says.
class Replacements
{
public:
    Replacements()
    {
        const LightweightString<wchar_t> path = OS().fileMgr().findConfigurationFile(L"strings.txt");
        if (path.empty())
            return;
        name_ = toUTF8(path);
        TextFile file;
        if (Text error; !file.load(path, &error))
            complaints_.push_back(name_ + " can't be read: " + error);
        for (unsigned index = 0; index < file.numLines(); ++index)
            if (!read(file[index]))
                complain(index + 1);
    }

    const Text* find(std::uint32_t id) const
    {
        const auto found = texts_.find(id);
        return found != texts_.end() ? &found->second : nullptr;
    }

    // Once, and not while the texts are being read: who hears it may want texts.
    void sayComplaints()
    {
        if (complaints_.empty() || said_.exchange(true))
            return;
        for (const Text& complaint : complaints_)
            OS().message(complaint.c_str());
    }

private:
    static constexpr std::string_view blanks = " \t";

    bool read(std::string_view line)
    {
        line.remove_prefix(std::min(line.find_first_not_of(blanks), line.size()));
        if (line.empty() || line.front() == '#')
            return true;
        std::uint32_t id = 0;
        const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), id);
        line.remove_prefix(static_cast<std::size_t>(end - line.data()));
        const bool isSeparated = line.empty() || blanks.find(line.front()) != blanks.npos;
        if (error != std::errc() || !isSeparated || ResId(id) == ResId::none || line.find('\0') != line.npos)
            return false;
        line.remove_prefix(std::min(line.find_first_not_of(blanks), line.size()));
        texts_[id] = line;
        return true;
    }

    void complain(unsigned lineNumber)
    {
        Text complaint = name_ + ", line ";
        complaint += lineNumber;
        complaint += " is no number with its text";
        complaints_.push_back(complaint);
    }

    std::map<std::uint32_t, Text> texts_;
    Text name_;
    std::vector<Text> complaints_;
    std::atomic<bool> said_{false};
};

const Text* replacementOf(ResId id)
{
    Replacements& replacements = immortal<Replacements>();
    replacements.sayComplaints();
    return replacements.find(static_cast<std::uint32_t>(id));
}

const char* compiledIn(ResId id)
{
    const Row* const row = std::ranges::lower_bound(rows, static_cast<std::uint32_t>(id), {}, &Row::id);
    return row != std::end(rows) && row->id == static_cast<std::uint32_t>(id) ? row->text : nullptr;
}

LightweightString<char> missingText(ResId id)
{
    LightweightString<char> text("<resource ");
    text += static_cast<std::uint32_t>(id);
    text += '>';
    return text;
}

} // namespace

LightweightString<char> resourceStr(ResId id, ResStrFmt format)
{
    if (id == ResId::none)
        return {};
    LightweightString<char> text;
    if (const Text* const replacement = replacementOf(id))
        text = *replacement;
    else if (const char* const row = compiledIn(id))
        text = row;
    else
        return missingText(id);
    if (format == ResStrFmt::upperCase)
        toUpper(text);
    return text;
}

LightweightString<char> resourceStr(MwResult result, ResStrFmt format)
{
    return resourceStr(ResId(static_cast<std::uint32_t>(result)), format);
}

LightweightString<wchar_t> resourceStrW(ResId id, ResStrFmt format)
{
    return fromUTF8(resourceStr(id, format));
}

LightweightString<wchar_t> resourceStrW(MwResult result, ResStrFmt format)
{
    return fromUTF8(resourceStr(result, format));
}
