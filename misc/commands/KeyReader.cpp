#include "misc/commands/KeyReader.h"

#include "Mw/LightweightString.h"
#include "misc/commands/KeyNames.h"

#include <algorithm>

namespace
{

using View = std::wstring_view;

// Takes the text off from its front.
class DisplayReader
{
public:
    explicit DisplayReader(View text) : rest_(text) {}

    int read()
    {
        takeNumpad();
        if (rest_.size() > 1 && rest_.front() == L'*')
        {
            flags_ |= KeyCode::marked;
            rest_.remove_prefix(1);
            takeSign();
        }
        while (takeAnyModifier())
            ;
        const int key = readKey();
        return key != 0 ? key | flags_ : 0;
    }

private:
    // It stands behind the name, and before the number of a console key.
    void takeNumpad()
    {
        const std::size_t at = rest_.rfind(KeyNames::numpad);
        if (at == View::npos || at == 0 || rest_.size() - at - KeyNames::numpad.size() > 1)
            return;
        flags_ |= KeyCode::keypad;
        const View number = rest_.substr(at + KeyNames::numpad.size());
        joined_ = LightweightString<wchar_t>(rest_.substr(0, at)) + number;
        rest_ = joined_;
    }

    void skipBlanks() noexcept
    {
        // The last one is the key itself.
        while (rest_.size() > 1 && rest_.front() == L' ')
            rest_.remove_prefix(1);
    }

    // A "+" with something behind it.
    bool takeSign() noexcept
    {
        const std::size_t at = rest_.find_first_not_of(L' ');
        if (at == View::npos || rest_[at] != L'+' || at + 1 == rest_.size())
            return false;
        rest_.remove_prefix(at + 1);
        skipBlanks();
        return true;
    }

    bool takeModifier(const KeyNames::Modifier& modifier)
    {
        const View name = KeyNames::text(modifier.id);
        if (name.empty() || !KeyNames::beginsWith(rest_, name))
            return false;
        const View before = rest_;
        rest_.remove_prefix(name.size());
        if (!takeSign())
        {
            rest_ = before;
            return false;
        }
        flags_ |= modifier.flag;
        return true;
    }

    bool takeAnyModifier()
    {
        return takeModifier({KeyCode::shift, KeyNames::shiftId}) ||
               std::ranges::any_of(KeyNames::modifiers,
                                   [this](const auto& modifier) { return takeModifier(modifier); });
    }

    int readKey() const
    {
        const View prefix = KeyNames::text(KeyNames::consolePrefixId);
        if (!prefix.empty() && KeyNames::beginsWith(rest_, prefix))
            if (const int key = KeyNames::findConsoleKey(rest_.substr(prefix.size())); key != 0)
                return key;
        if (rest_.size() == 1)
            return character(rest_[0]);
        if (rest_.size() == 3 && rest_[0] == L'\'' && rest_[2] == L'\'')
            return character(rest_[1]);
        return KeyNames::findKey(rest_);
    }

    static int character(wchar_t c) noexcept
    {
        return static_cast<unsigned>(c) <= KeyCode::characterMask ? static_cast<int>(c) : 0;
    }

    View rest_;
    LightweightString<wchar_t> joined_;
    int flags_ = 0;
};

} // namespace

int readKey(std::wstring_view text)
{
    while (text.size() > 1 && text.front() == L' ')
        text.remove_prefix(1);
    // Blanks at the end may be the key.
    const int keycode = DisplayReader(text).read();
    if (keycode != 0 || !text.ends_with(L' '))
        return keycode;
    return DisplayReader(text.substr(0, text.find_last_not_of(L' ') + 1)).read();
}
