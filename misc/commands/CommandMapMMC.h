#pragma once

#include "Mw/LightweightString.h"
#include "Mw/Ptr.h"
#include "OS/Export.h"
#include "misc/commands/KeyEvent.h"
#include "misc/commands/SimpleKeyMapper.h"

#include <vector>

// Shows the table of commands to the key mapping as one client, "GlobalCommands", and turns key presses into calls.
// One thread at a time; what keys are bound may be asked from many threads while nobody changes anything.
class MISC_API CommandMapMMC
{
public:
    // The one of the process, made on first use, when registration is finished, and kept to its end.
    static CommandMapMMC& GlobalCommands();

    CommandMapMMC(const CommandMapMMC&) = delete;
    CommandMapMMC& operator=(const CommandMapMMC&) = delete;

    // Builds the key maps from the table anew, and with them applies the user's mappings. Commands that were
    // registered later than that have no keys.
    void init();

    // The name of the command, which may be gone from the table; empty if no key map has the code.
    LightweightString<char> findCommandBoundToKey(int keycode) const;

    // Runs the command that the key is bound to: on every event if it wants both, else when the key is pressed. The
    // result is the command's index, whether or not this event runs it, and 0 if the key is nobody's. The command at
    // index 0 reads the same; callers take the result for a truth value. The command may change the table, the
    // mappings and these key maps.
    unsigned tryKey(int keycode, KeyEvent::eType type) const;

    // The codes that key maps of global scope have for the command, of all clients, in the order of clients, key
    // maps and items; those of console keys only where the user made them. A null name asks by display name alone,
    // which must agree exactly.
    std::vector<int> getKeysAssignedToCommand(char const* name, LightweightString<wchar_t> const& displayName) const;
    std::vector<int> getKeysAssignedToCommand(char const* name) const { return getKeysAssignedToCommand(name, {}); }
    std::vector<int> getKeysAssignedToCommand(LightweightString<wchar_t> const& displayName) const
    {
        return getKeysAssignedToCommand(nullptr, displayName);
    }

private:
    CommandMapMMC();
    KeyMap const* keyMapOf(int keycode) const;

    Mw::Ptr<SimpleKeyMapper> mapper_;
};
