#include "misc/base/ResId.h"

#include "libmw/Text.h"

#include <algorithm>
#include <iterator>

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
    const Row* const row = std::ranges::lower_bound(rows, static_cast<std::uint32_t>(id), {}, &Row::id);
    if (row == std::end(rows) || row->id != static_cast<std::uint32_t>(id))
        return missingText(id);
    LightweightString<char> text(row->text);
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
