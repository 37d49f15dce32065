#pragma once

#include "Mw/LightweightString.h"
#include "misc/base/ResId.h"
#include "misc/commands/KeyCode.h"

#include <string_view>

// The keys that have names. Any thread.
namespace KeyNames
{

using Text = LightweightString<wchar_t>;

struct Name
{
    ResId id = ResId::none; // none: the key has no name
    std::wstring_view suffix;
};

constexpr ResId altId = ResId(11656);
constexpr ResId fourthModifierId = ResId(11659);
constexpr ResId consolePrefixId = ResId(11678);
constexpr ResId ctrlId = ResId(11700);
constexpr ResId shiftId = ResId(11713);
constexpr ResId unknownId = ResId(11716);

// What is shown behind the name of a key of the keypad.
constexpr std::wstring_view numpad = L" (numpad)";

struct Modifier
{
    int flag;
    ResId id;
};

// Those that are shown behind Shift, in their order.
constexpr Modifier modifiers[] = {
    {KeyCode::ctrl, ctrlId}, {KeyCode::fourthModifier, fourthModifierId}, {KeyCode::alt, altId}};

// Of a key of the keyboard by its whole code, and of a console key by its number.
Name ofKey(int code) noexcept;
Name ofConsoleKey(int number) noexcept;

// The other way: the code of the name with its suffix, whose case doesn't count; 0 if no key is called so. A console
// key comes with its flag.
int findKey(std::wstring_view name);
int findConsoleKey(std::wstring_view name);

// The text of a resource from 11656 to 11717, looked up once.
const Text& text(ResId id);

// Whatever the case of letters.
bool beginsWith(std::wstring_view text, std::wstring_view beginning) noexcept;

} // namespace KeyNames
