#include "misc/commands/KeyCode.h"

#include "libmw/Text.h"
#include "misc/commands/MapItem.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

using Wide = LightweightString<wchar_t>;

Wide quoted(int character)
{
    return Wide(L"'") + static_cast<wchar_t>(character) + L"'";
}

// The codes without modifiers that show as a name.
std::vector<int> namedKeys()
{
    std::vector<int> keys;
    for (int low = 1; low <= KeyCode::characterMask; ++low)
    {
        for (const int code : {low, low | KeyCode::scanCode})
            if (keycodeToString(code) != quoted(low))
                keys.push_back(code);
        if (keycodeToString(low | KeyCode::console) != L"Console:Unknown")
            keys.push_back(low | KeyCode::console);
    }
    return keys;
}

} // namespace

TEST(KeyCode, shortFormsOfStoredMappings)
{
    const std::pair<LightweightString<char>, unsigned> cases[] = {
        {"F5", 0},
        {"CTRL+", 0},
        {"alt_X", 0x4000078},
        {"CTRL+ALT+x", 0x6000058},
        {"Ctrl-Ctrl-shift-x", 0x3000058},
        {"CTRL++", 0x200002B},
        {"\xE4", 0xFFFFFFE4},
        {LightweightString<char>("A\0", 2), 0},
    };
    for (const auto& [text, code] : cases)
        EXPECT_EQ(stringToKeycode(text), static_cast<int>(code)) << text;
}

TEST(KeyCode, everyNameAndCharacterWithEveryModifierIsReadBack)
{
    std::vector<int> keys = namedKeys();
    EXPECT_EQ(keys.size(), 6u + 29u + 43u);
    for (int character = 33; character < 127; ++character)
        keys.push_back(character);
    for (const int key : keys)
        for (unsigned set = 0; set < 64; ++set)
        {
            int flags = 0;
            int bit = 0;
            for (const int flag : {KeyCode::shift, KeyCode::ctrl, KeyCode::alt, KeyCode::fourthModifier,
                                   KeyCode::marked, KeyCode::keypad})
                flags |= (set >> bit++ & 1) != 0 ? flag : 0;
            const Wide text = keycodeToString(key | flags);
            // With one of these a key of the keyboard shows as the character of its low bits.
            const bool isNamed = (flags & (KeyCode::fourthModifier | KeyCode::marked | KeyCode::keypad)) == 0 ||
                                 (key & KeyCode::console) != 0;
            const int shown = (isNamed ? key : key & KeyCode::characterMask) | flags;
            ASSERT_EQ(keycodeFromDisplayText(text), shown) << toUTF8(text) << std::hex << " " << (key | flags);
        }
}

TEST(KeyCode, displayForms)
{
    const std::pair<unsigned, const wchar_t*> cases[] = {
        {0x27100061, L"*Shift+Ctrl+Command+Alt+a"},
        {0x88000047, L"'G' (numpad)"},
        {0x9000002C, L"Console:User  (numpad)8"},
        {0x10000013, L"Console:Unknown"},
        {0x080000AA, L"'\u00AA'"},
        {0x4000FF00, L"Hold Unknown tap Unknown"},
    };
    for (const auto& [code, text] : cases)
        EXPECT_EQ(keycodeToString(static_cast<int>(code)), text) << std::hex << code;
}

TEST(KeyCode, whatPeopleTypeIsRead)
{
    const std::pair<const wchar_t*, unsigned> cases[] = {
        {L"  ctrl + shift+ F12 ", 0x0B000046}, {L"a", 'a'},        {L"console:user 8", 0x1000002C},
        {L"Hold Hold a tap b tap c", 0},       {L"\U0001F600", 0},
    };
    for (const auto& [text, code] : cases)
        EXPECT_EQ(keycodeFromDisplayText(text), static_cast<int>(code)) << toUTF8(text);
}

TEST(KeyCode, gesturesAreReadIntoItemsAndHaveACodeWhileTheyAreHeld)
{
    for (const ComplexKeyboardEvent event : {ComplexKeyboardEvent{0x02000061, 0x0800003B, 1}, {' ', 'p', 0}})
    {
        const Wide text = complexKeyboardEventToString(event);
        EXPECT_EQ(keycodeFromDisplayText(text), 0);
        const MapItem item = mapItemFromText(text);
        EXPECT_EQ(item.cke(), event);
        EXPECT_EQ(keycodeFromDisplayText(text), item.mappedKeyCode());
        EXPECT_EQ(keycodeToString(item.mappedKeyCode()), text);
    }
    EXPECT_EQ(complexKeyboardEventToString({'a', 'b', 1}), L"Hold 'a' press 'b'");
    EXPECT_FALSE(mapItemFromText(L"Hold a").valid());
    // One that names its own slot.
    const MapItem loop(ComplexKeyboardEvent{0x40000001, 0x40000001, 0}, false);
    EXPECT_EQ(keycodeToString(loop.mappedKeyCode()), L"Hold Unknown tap Unknown");
}
