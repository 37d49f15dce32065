#include "misc/commands/KeyNames.h"

#include "Mw/CText.h"
#include "OS/Immortal.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>

namespace KeyNames
{

namespace
{

constexpr std::uint32_t firstId = 11656;
constexpr std::uint32_t lastId = 11717;

struct Row
{
    int code;
    std::uint16_t id;
    std::wstring_view suffix;
};

constexpr Row characters[] = {{3, 11658, {}},  {8, 11657, {}},  {9, 11715, {}},
                              {13, 11704, {}}, {27, 11705, {}}, {32, 11714, {}}};

// The scan codes, in their order.
constexpr Row scanCodes[] = {
    {0x3B, 11706, L"1"},  {0x3C, 11706, L"2"},  {0x3D, 11706, L"3"},  {0x3E, 11706, L"4"},  {0x3F, 11706, L"5"},
    {0x40, 11706, L"6"},  {0x41, 11706, L"7"},  {0x42, 11706, L"8"},  {0x43, 11706, L"9"},  {0x44, 11706, L"10"},
    {0x45, 11706, L"11"}, {0x46, 11706, L"12"}, {0x47, 11707, {}},    {0x48, 11717, {}},    {0x49, 11711, {}},
    {0x4B, 11709, {}},    {0x4D, 11712, {}},    {0x4F, 11703, {}},    {0x50, 11702, {}},    {0x51, 11710, {}},
    {0x52, 11708, {}},    {0x53, 11701, {}},    {0x61, 11706, L"13"}, {0x62, 11706, L"14"}, {0x63, 11706, L"15"},
    {0x64, 11706, L"16"}, {0x65, 11706, L"17"}, {0x66, 11706, L"18"}, {0x67, 11706, L"19"}};

// By number from 0; 0 stands for no key.
constexpr std::uint16_t consoleKeys[] = {
    0,     11662, 11665, 11670, 11674, 11661, 11680, 11682, 11668, 11690, 11698, 11677, 11689, 11681, 11676, 11675,
    11696, 11691, 11667, 0,     11686, 11688, 0,     11660, 11687, 11683, 11684, 11663, 11666, 11669, 11692, 11695,
    0,     11699, 11699, 11699, 11699, 11697, 11685, 11693, 11694, 11699, 11699, 11699, 11699, 11679, 11664};
constexpr int numConsoleKeys = static_cast<int>(std::size(consoleKeys));
static_assert(numConsoleKeys == 47);

// The keys of a user's own are numbered through two runs.
constexpr std::wstring_view userKeySuffixes[] = {L"1", L"2", L"3", L"4", L"5", L"6", L"7", L"8"};

std::wstring_view consoleSuffix(int number) noexcept
{
    if (number >= 33 && number <= 36)
        return userKeySuffixes[number - 33];
    return number >= 41 && number <= 44 ? userKeySuffixes[number - 41 + 4] : std::wstring_view();
}

struct Texts
{
    Texts()
    {
        for (std::uint32_t id = firstId; id <= lastId; ++id)
            texts[id - firstId] = resourceStrW(ResId(id));
    }
    std::array<Text, lastId - firstId + 1> texts;
};

bool isNamed(std::wstring_view text, const Name& name)
{
    const std::wstring_view first = KeyNames::text(name.id);
    return text.size() == first.size() + name.suffix.size() && beginsWith(text, first) && text.ends_with(name.suffix);
}

} // namespace

Name ofKey(int code) noexcept
{
    if ((code & KeyCode::scanCode) == 0)
    {
        for (const Row& row : characters)
            if (row.code == code)
                return {ResId(row.id), row.suffix};
        return {};
    }
    const Row* const row = std::ranges::lower_bound(scanCodes, code & ~KeyCode::scanCode, {}, &Row::code);
    if (row == std::end(scanCodes) || (row->code | KeyCode::scanCode) != code)
        return {};
    return {ResId(row->id), row->suffix};
}

Name ofConsoleKey(int number) noexcept
{
    if (number < 0 || number >= numConsoleKeys || consoleKeys[number] == 0)
        return {};
    return {ResId(consoleKeys[number]), consoleSuffix(number)};
}

int findKey(std::wstring_view name)
{
    for (const Row& row : characters)
        if (isNamed(name, {ResId(row.id), row.suffix}))
            return row.code;
    for (const Row& row : scanCodes)
        if (isNamed(name, {ResId(row.id), row.suffix}))
            return row.code | KeyCode::scanCode;
    return 0;
}

int findConsoleKey(std::wstring_view name)
{
    for (int number = 0; number < numConsoleKeys; ++number)
        if (const Name key = ofConsoleKey(number); key.id != ResId::none && isNamed(name, key))
            return number | KeyCode::console;
    return 0;
}

const Text& text(ResId id)
{
    static const Texts& texts = immortal<Texts>();
    return texts.texts[static_cast<std::uint32_t>(id) - firstId];
}

bool beginsWith(std::wstring_view text, std::wstring_view beginning) noexcept
{
    const auto equal = [](wchar_t a, wchar_t b) { return Mw::CText::toLower(a) == Mw::CText::toLower(b); };
    return text.size() >= beginning.size() && std::equal(beginning.begin(), beginning.end(), text.begin(), equal);
}

} // namespace KeyNames
