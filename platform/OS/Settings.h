#pragma once

#include "Mw/LightweightString.h"
#include "Mw/Ptr.h"

#include <optional>
#include <string_view>
#include <vector>

// A store of named text values in named sections; the empty section is the root. Names mind case, and
// names and values may hold any bytes. Any thread.
//
// The stores of the application and of its user come from OS().desktop().openSettings.
class OS_API iSettings : public iObject
{
public:
    struct NameValuePair
    {
        LightweightString<char> name;
        LightweightString<char> value;
    };

    // What a write came to. Unless it says otherwise, a write that does not give eStored changed nothing.
    enum eResult : int
    {
        eStored = 0,       // on the disk, and safe there
        eKeptInMemory = 1, // the store can't be used: the change holds for the rest of this run only
        eBusy = 2,         // another process or thread held the store for 30 seconds
        eFailed = 3,       // the disk is full, or failed; if its last flush alone did, the change may stand, whole
        eForked = 4        // the process was forked from the one that opened the store, and did not exec
    };

    // One write of many: `value` is stored, or what is there removed if there is none.
    struct Change
    {
        LightweightString<char> key;
        LightweightString<char> section;
        std::optional<LightweightString<char>> value;
    };

    // Gives an eResult. Storing a value that is there already writes nothing.
    virtual int setValue(const LightweightString<char>& key, const LightweightString<char>& value,
                         const LightweightString<char>& section);

    // `defaultValue` if there is none.
    virtual LightweightString<char> getValue(const LightweightString<char>& key,
                                             const LightweightString<char>& defaultValue,
                                             const LightweightString<char>& section);

    // Gives an eResult; removing what isn't there writes nothing.
    virtual int removeValue(const LightweightString<char>& key, const LightweightString<char>& section);

    // Appends all values of the section, in the order of their names.
    virtual void getMultipleValues(std::vector<NameValuePair>& result, const LightweightString<char>& section) = 0;

    // The read for hot paths: shares the stored text, and allocates nothing. False, with `value` left
    // alone, if there is none.
    virtual bool findValue(std::string_view key, std::string_view section, LightweightString<char>& value) = 0;

    // Is shown a value where the store keeps it. It calls no store meanwhile.
    class Reader
    {
    public:
        virtual void read(const LightweightString<char>& value) = 0;

    protected:
        ~Reader() = default;
    };

    // The same for who only parses the text: no handle is made. False, with the reader not called, if there
    // is no value.
    virtual bool readValue(std::string_view key, std::string_view section, Reader& reader);

    // Makes all the changes, in their order, as one: readers, and the disk whatever happens to it, see
    // either none or all. Gives an eResult.
    virtual int apply(const std::vector<Change>& changes) = 0;

    // Appends the names of the sections that hold a value, in their order.
    virtual void getSections(std::vector<LightweightString<char>>& result) = 0;

    // Why the last write that did not give eStored did so; empty if all did.
    virtual LightweightString<char> lastError() = 0;
};

namespace Mw
{

// The store in the file `path`, which is made with its directory by the first write; nothing is read or
// made on the disk before the first use. Never null: a store that can't be opened keeps its values in
// memory. Each call gives a store of its own; stores of one file see each other's changes as those of
// other processes.
OS_API Ptr<iSettings> openSettingsFile(const LightweightString<wchar_t>& path);

} // namespace Mw
