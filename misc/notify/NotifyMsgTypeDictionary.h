#pragma once

#include "Mw/LightweightString.h"
#include "OS/Export.h"

#include <functional>
#include <map>

// The message types of the process: small numbers for names, dense from 0 in the order in which the names
// were first asked for.
//
// No lock: types are interned during static initialisation and start-up, while one thread runs.
class MISC_API NotifyMsgTypeDictionary
{
public:
    // The ids of "*", which stands for every type, and of "destroy!", the last message of a notifier.
    static constexpr int anyType = 0;
    static constexpr int destroyType = 1;

    // The dictionary of the process, made on first use. It stays as it is to the end: threads that still run at
    // exit look types up.
    static NotifyMsgTypeDictionary& instance();

    NotifyMsgTypeDictionary();
    NotifyMsgTypeDictionary(const NotifyMsgTypeDictionary&) = delete;
    NotifyMsgTypeDictionary& operator=(const NotifyMsgTypeDictionary&) = delete;

    // The id of a name, a new one if the name is new.
    int intern(const LightweightString<char>& name);

    // The name of an id, empty for an id that no name has. Linear.
    LightweightString<char> msgTypeName(int id) const;

private:
    std::map<LightweightString<char>, int, std::less<LightweightString<char>>> ids_;
};
