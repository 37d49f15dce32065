// What the debugger test looks at: stops in `look`.

#include "Mw/LightweightString.h"
#include "Mw/Ptr.h"

struct Shot : iObject
{
    int number = 42;
};

void look(const LightweightString<char>& name, const LightweightString<wchar_t>& wide, const LightweightString<char>& none,
          const Mw::Ptr<Shot>& shot, const Mw::Ptr<Shot>& nothing)
{
    asm volatile("" ::"r"(&name), "r"(&wide), "r"(&none), "r"(&shot), "r"(&nothing));
}

int main()
{
    const Mw::Ptr<Shot> shot(new Shot);
    const Mw::Ptr<Shot> second(shot);
    look(LightweightString<char>("slate"), LightweightString<wchar_t>(L"clap"), LightweightString<char>(), shot,
         Mw::Ptr<Shot>());
}
