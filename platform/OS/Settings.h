#pragma once

#include "Mw/LightweightString.h"
#include "Mw/Ptr.h"

#include <vector>

// A store of named text values in named sections; the empty section is the root. Names mind case. Any
// thread.
class OS_API iSettings : public iObject
{
public:
    struct NameValuePair
    {
        LightweightString<char> name;
        LightweightString<char> value;
    };

    // False if the value could not be stored; the old one then stays.
    virtual bool setValue(const LightweightString<char>& key, const LightweightString<char>& value,
                          const LightweightString<char>& section) = 0;

    // `defaultValue` if there is none.
    virtual LightweightString<char> getValue(const LightweightString<char>& key,
                                             const LightweightString<char>& defaultValue,
                                             const LightweightString<char>& section) = 0;

    // False on failure; removing what isn't there is none.
    virtual bool removeValue(const LightweightString<char>& key, const LightweightString<char>& section) = 0;

    // Appends all values of the section, in the order of their names.
    virtual void getMultipleValues(std::vector<NameValuePair>& result, const LightweightString<char>& section) = 0;
};
