#pragma once

#include "OS/Export.h"

// A preference that the user may change while the program runs: a boolean in UserConfig(), section
// "Preferences". It holds no state beside its name and default, so it is a constant of the module that asks
// for it. Any thread.
class MISC_API PrefVal
{
public:
    // `name` stays valid.
    constexpr PrefVal(char const* name, bool dflt) noexcept : name_(name), dflt_(dflt) {}

    char const* name() const noexcept { return name_; }
    bool get() const;

    // False if it could not be stored; the value before then stays. One that the store can only keep for
    // this run counts as stored.
    bool set(bool value) const;

private:
    char const* name_;
    bool dflt_;
};
