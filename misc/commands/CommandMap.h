#pragma once

#include "Mw/LightweightString.h"
#include "OS/Export.h"
#include "misc/base/CmdContext.h"
#include "misc/base/UIString.h"
#include "misc/commands/MapItem.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <utility>
#include <vector>

// What a command of the short form says of its scope. A command of global scope has key maps that reports of a
// command's keys take up.
enum eCmdScope : int
{
    eCmdLocal = 0,
    eCmdGlobal = 1,
    eCmdGlobalIfNamed = 2 // global if it has a display name
};

// One command, as the table holds it.
class MISC_API CommandMapRec
{
public:
    enum eAttribs : std::uint32_t
    {
        eWantsBothEvents = 1, // it runs when its key is pressed and when it is released
        eGlobalScope = 2
    };

    // No user data, no attributes and no default key.
    void init();

    // ASCII; empty for a record that is out of use.
    LightweightString<char> const& commandName() const noexcept { return commandName_; }
    Cmd::Function commandFunction() const noexcept { return commandFunction_; }
    void* userData() const noexcept { return userData_; }
    LightweightString<wchar_t> const& displayName() const noexcept { return displayName_; }
    LightweightString<wchar_t> const& displayDescription() const noexcept { return displayDescription_; }
    // The key that the command is bound to unless the user says otherwise; an invalid item means none.
    MapItem const& defaultMapItem() const noexcept { return defaultMapItem_; }
    std::uint32_t attribs() const noexcept { return attribs_; }

    void commandName(LightweightString<char> name) { commandName_ = std::move(name); }
    void commandFunction(Cmd::Function function, void* userData);
    void attribs(std::uint32_t attribs) { attribs_ = attribs; }

    // Calls the function, if there is one, with the record's user data in the context. The function may do as it
    // likes with the table, this record included.
    void call(Cmd::Context context) const;

    // Drops the function and all texts: the record is out of use.
    void invalidate();

    // By name, byte by byte.
    bool operator<(CommandMapRec const& other) const noexcept { return commandName_ < other.commandName_; }

private:
    friend class CommandMap;

    LightweightString<char> commandName_;
    Cmd::Function commandFunction_ = nullptr;
    void* userData_ = nullptr;
    LightweightString<wchar_t> displayName_;
    LightweightString<wchar_t> displayDescription_;
    MapItem defaultMapItem_;
    std::uint32_t attribs_ = 0;
};

// The process's table of named commands, which knows nothing of keys. A command has an index for the process's
// lifetime: records keep their places, and those of commands that are gone aren't used again.
//
// There is no lock: nobody may register or deregister while another thread uses the table. A command runs on its
// caller's thread, and what it throws passes through.
class MISC_API CommandMap
{
public:
    static constexpr unsigned invalidIndex = ~0u;

    CommandMap() = default;
    CommandMap(const CommandMap&) = delete;
    CommandMap& operator=(const CommandMap&) = delete;

    // The current table, made on first use, before any other part of the library has run if need be.
    static CommandMap* theCommandMap();
    static CommandMap* instance() { return theCommandMap(); }

    // Makes `map`, which comes from `new`, the current table and destroys the one before. Null lets the next use
    // make an empty one. The current table itself is left alone.
    static void theCommandMap(CommandMap* map);

    // Enters a command and gives its index. A name that has the same function already keeps its record as it is
    // and gives its index; one with another function is an assertion and gives `invalidIndex`. The texts are
    // looked up here. A null name is the empty one.
    unsigned registerCommand(char const* name, Cmd::Function fn, void* userData, unsigned attribs,
                             UIString const& displayName, UIString const& description, MapItem const& defaultKey);

    // The same for a function without a context. Two of them under one name can't be told apart: the second
    // registration gives the index of the first.
    unsigned registerCommand(char const* name, void (*fn)(), UIString const& displayName, UIString const& description,
                             eCmdScope scope, MapItem const& defaultKey);

    // Takes the command out of the table; its index and its record, now without function and name, stay. False
    // for an index past the end.
    bool deregisterCommand(unsigned index);

    // `invalidIndex` if there is none. A null name is the empty one. Display names are compared without case, and
    // the first command that has the name is given; an empty one finds a record that is out of use, too.
    unsigned findCommand(char const* name) const;
    unsigned findCommandByDisplayName(LightweightString<wchar_t> const& displayName) const;

    // The record, null for an index past the end. It stays where it is until the next registration.
    CommandMapRec* getCommand(unsigned index) const;

    // Indices past the end, unknown names and commands that are gone are ignored.
    void callCommand(unsigned index, Cmd::Context const& context) const;
    void callCommand(char const* name, Cmd::Context const& context) const;

    // The function of all commands without a context: calls the one that is the user data. A caller's context is
    // an assertion, and the command runs all the same.
    static void contextlessCommandRedirector(Cmd::Context const& context);

    // The live commands by name, for adapters that show the whole table.
    using Names = std::map<LightweightString<char>, unsigned, std::less<>>;
    Names const& names() const noexcept { return map_; }

private:
    Names map_;
    // A look-up gives records that its caller may change.
    mutable std::vector<CommandMapRec> records_;

    static std::atomic<CommandMap*> theCommandMap_;
};
