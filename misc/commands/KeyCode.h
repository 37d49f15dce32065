#pragma once

#include "Mw/LightweightString.h"
#include "OS/Export.h"

// What a command can be bound to is one 32-bit number, the key code: a character or a key number in the low 16
// bits, and the flags below. Any thread.
namespace KeyCode
{
inline constexpr int keypad = static_cast<int>(0x80000000u); // a key of the numeric keypad
inline constexpr int complexEvent = 0x40000000; // a slot of ComplexKeyboardEventManager: its number + 1 in bits 0 to 7
inline constexpr int marked = 0x20000000;       // shown with a "*"
inline constexpr int console = 0x10000000;      // a key of the control console, by its number
inline constexpr int scanCode = 0x08000000;     // the low bits are a keyboard's scan code
inline constexpr int alt = 0x04000000;
inline constexpr int ctrl = 0x02000000;
inline constexpr int shift = 0x01000000;
inline constexpr int fourthModifier = 0x00100000;
inline constexpr int characterMask = 0x0000FFFF;
} // namespace KeyCode

// Reads the short form of stored mappings: one character behind any of the words CTRL, ALT and SHIFT, each
// followed by one of the delimiters "+", "_" and "-". Case doesn't count, and the character is an upper-case one
// unless Alt alone stands before it. A delimiter at the beginning of what is left is a character itself, and
// takes the one behind it away. 0 if the text is no key; names such as "F5" are none here.
//
//     "ctrl+x"  0x02000058      "ALT+X"  0x04000078      "CTRL+-"  0x0200002D
MISC_API int stringToKeycode(LightweightString<char> text);

// The display form: "'a'", "Shift+Ctrl+a", "F5", "*+x", "'7' (numpad)", "Console:Play", "Hold 'a' press 'b'".
// A code without a name shows the character of its low bits, or the word for an unknown key. Names of keys take
// no flag beside Shift, Ctrl and Alt: with another the key shows as a character.
MISC_API LightweightString<wchar_t> keycodeToString(int keycode);

// Reads a display form of keycodeToString, and what people make of one: names and modifiers in any case, the
// modifiers in any order, blanks around them, a single character without its apostrophes. Characters keep their
// case. A gesture of two keys has a code only while somebody holds it: see mapItemFromText. 0 if the text is
// no key.
MISC_API int keycodeFromDisplayText(const LightweightString<wchar_t>& text);

// The bits of the modifier keys that are down now.
MISC_API int getKeyboardModifiers();

// Whether Esc is down now, or one of Esc and Space.
MISC_API bool g_esc_pressed();
MISC_API bool g_esc_or_space_pressed();
