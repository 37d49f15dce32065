#include "misc/commands/KeyCode.h"

#include "Mw/CText.h"
#include "OS/OS.h"
#include "OS/Windowing.h"
#include "libmw/Text.h"
#include "misc/commands/ComplexKeyboardEvent.h"
#include "misc/commands/KeyNames.h"
#include "misc/commands/KeyReader.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace
{

using Text = LightweightString<wchar_t>;
using View = std::wstring_view;

// A text put together of a few pieces, in one block.
class Pieces
{
public:
    bool empty() const noexcept { return length_ == 0; }

    void add(View piece) noexcept
    {
        pieces_[count_++] = piece;
        length_ += piece.size();
    }

    Text joined() const
    {
        Text text;
        text.resizeFor(static_cast<unsigned>(length_));
        wchar_t* out = text.writable();
        for (std::size_t index = 0; index < count_; ++index)
        {
            Mw::CText::move(out, pieces_[index].data(), pieces_[index].size());
            out += pieces_[index].size();
        }
        return text;
    }

private:
    static constexpr std::size_t maxPieces = 16; // modifiers and their signs are 9, the key at most 5 more

    std::array<View, maxPieces> pieces_;
    std::size_t count_ = 0;
    std::size_t length_ = 0;
};

KeyNames::Name nameOf(int keycode) noexcept
{
    if ((keycode & KeyCode::console) != 0)
    {
        const KeyNames::Name name = KeyNames::ofConsoleKey(keycode & KeyCode::characterMask);
        return name.id != ResId::none ? name : KeyNames::Name{KeyNames::unknownId, {}};
    }
    const KeyNames::Name name = KeyNames::ofKey(keycode & ~(KeyCode::shift | KeyCode::ctrl | KeyCode::alt));
    const bool isNothing = name.id == ResId::none && (keycode & KeyCode::characterMask) == 0;
    return isNothing ? KeyNames::Name{KeyNames::unknownId, {}} : name;
}

void addModifiers(Pieces& out, int keycode)
{
    if ((keycode & KeyCode::marked) != 0)
        out.add(L"*");
    if ((keycode & KeyCode::shift) != 0)
        out.add(KeyNames::text(KeyNames::shiftId));
    for (const KeyNames::Modifier& modifier : KeyNames::modifiers)
        if ((keycode & modifier.flag) != 0)
        {
            if (!out.empty())
                out.add(L"+");
            out.add(KeyNames::text(modifier.id));
        }
    if (!out.empty())
        out.add(L"+");
}

bool isDown(int keycode)
{
    return OS().windowing().isKeyDown(keycode);
}

} // namespace

int stringToKeycode(LightweightString<char> text)
{
    toUpper(text);
    std::string_view rest = text;
    std::string_view token;
    int modifiers = 0;
    while (!rest.empty())
    {
        const std::size_t end = std::clamp<std::size_t>(rest.find_first_of("+_-"), 1, rest.size());
        token = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (token == "CTRL")
            modifiers |= KeyCode::ctrl;
        else if (token == "ALT")
            modifiers |= KeyCode::alt;
        else if (token == "SHIFT")
            modifiers |= KeyCode::shift;
    }
    if (token.size() != 1)
        return 0;
    const char c = modifiers == KeyCode::alt ? Mw::CText::toLower(token[0]) : token[0];
    return static_cast<signed char>(c) | modifiers;
}

LightweightString<wchar_t> keycodeToString(int keycode)
{
    if ((keycode & KeyCode::complexEvent) != 0)
        return complexKeyboardEventToString(ComplexKeyboardEventManager::lookup(keycode));

    const KeyNames::Name name = nameOf(keycode);
    const wchar_t character[] = {L'\'', static_cast<wchar_t>(keycode & KeyCode::characterMask), L'\''};
    Pieces out;
    addModifiers(out, keycode);
    if ((keycode & KeyCode::console) != 0)
        out.add(KeyNames::text(KeyNames::consolePrefixId));
    if (name.id != ResId::none)
        out.add(KeyNames::text(name.id));
    else
        out.add(out.empty() ? View(character, 3) : View(character + 1, 1));
    if ((keycode & KeyCode::keypad) != 0)
        out.add(KeyNames::numpad);
    out.add(name.suffix);
    return out.joined();
}

int keycodeFromDisplayText(const LightweightString<wchar_t>& text)
{
    ComplexKeyboardEvent event;
    if (complexKeyboardEventFromDisplayText(text, event))
        return ComplexKeyboardEventManager::lookup(event);
    return readKey(text);
}

int getKeyboardModifiers()
{
    int down = 0;
    for (const int flag : {KeyCode::ctrl, KeyCode::shift, KeyCode::alt, KeyCode::fourthModifier})
        down |= isDown(flag) ? flag : 0;
    return down;
}

bool g_esc_pressed()
{
    return isDown(27);
}

bool g_esc_or_space_pressed()
{
    return isDown(27) || isDown(32);
}
