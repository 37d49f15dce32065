#pragma once

#include "Mw/LightweightString.h"
#include "OS/Export.h"
#include "misc/base/UIString.h"
#include "misc/commands/MapItem.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

// One action that keys can be bound to: its output, which is a number or the name of a command, and the keys that
// produce it. The keys that it is made with are its defaults, which it remembers when the user changes them. One
// thread at a time.
class MISC_API KeyMap
{
public:
    using Text = LightweightString<wchar_t>;
    using Name = LightweightString<char>;

    enum KeyMapScope
    {
        notInReports = 0,
        inReports = 1
    };

    enum eOutputMode
    {
        byValue = 0,
        byString = 1
    };

    struct Output
    {
        Output(int value) noexcept : value(value) {}
        Output(Name name) noexcept : string(std::move(name)), mode(byString) {}
        Output(const char* name) : Output(Name(name)) {}

        int value = -1;
        Name string;
        eOutputMode mode = byValue;
    };

    // Not valid: ends a table.
    KeyMap() noexcept = default;

    // With no key, one, two, or those of a table that ends with an item that isn't valid. A key that is given
    // twice, and a name that verifyOutputString refuses, are reported by qa_splat.
    explicit KeyMap(Output output, const UIString& displayName = {}, const UIString& displayDescription = {},
                    KeyMapScope scope = notInReports);
    KeyMap(Output output, const MapItem& key, const UIString& displayName = {}, const UIString& displayDescription = {},
           KeyMapScope scope = notInReports);
    KeyMap(Output output, const MapItem& key, const MapItem& otherKey, const UIString& displayName = {},
           const UIString& displayDescription = {}, KeyMapScope scope = notInReports);
    KeyMap(Output output, MapItem const* keys, const UIString& displayName = {},
           const UIString& displayDescription = {}, KeyMapScope scope = notInReports);

    bool valid() const noexcept { return valid_; }
    eOutputMode outputMode() const noexcept { return output_.mode; }
    int outputValue() const noexcept { return output_.value; }
    const Name& outputString() const noexcept { return output_.string; }
    KeyMapScope scope() const noexcept { return scope_; }

    // What was given, or else the output's own name and a text that says that there is no description.
    const Text& displayName() const;
    const Text& displayDescription() const;

    // For the client's own use.
    void tag(void* tag) const noexcept { tag_ = tag; }
    void* tag() const noexcept { return tag_; }

    const std::vector<MapItem>& mapItems() const noexcept { return items_; }

    // The item of the code, null if there is none. It is valid until the map is changed.
    MapItem const* lookup(int keycode) const noexcept;

    // Appends a copy. False for a code that is there already; an item that isn't valid, or is a gesture without a
    // slot, is ignored, and true.
    bool addMapItem(const MapItem& item);

    // The same for a key of the user's, which comes to a place that does not depend on what was added before: a
    // default key to its own, others behind the defaults in the order of their codes, gestures last.
    bool insertMapItem(const MapItem& item);

    // False for a code that isn't there, and for an item that is read only.
    bool removeMapItem(int keycode);

    // Whether the map was made with the key, which may have been removed since.
    bool isDefaultKey(int keycode) const noexcept;
    // From now on the present keys are the defaults.
    void makeKeysDefault() noexcept;

    // Runs the command that the output string names, without a context. False if there is no such command.
    bool executeCommand() const;

    // Whether the output string can be stored: every character is above 31 and none is a colon, and it doesn't
    // begin like a number, "0x". Empty is good.
    bool verifyOutputString() const noexcept;

private:
    // One of the keys that the map was made with, and its place among them.
    struct TakenDefault
    {
        int keycode() const noexcept { return item.mappedKeyCode(); }

        MapItem item;
        std::size_t place;
    };

    void addDefault(const MapItem& item);
    void placeLast() noexcept;
    std::size_t numDefaults() const noexcept { return std::min(numDefaults_, items_.size()); } // none after a move

    std::vector<MapItem> items_;              // the first of them are those that the map was made with
    std::vector<TakenDefault> takenDefaults_; // the others of those, by place; they may have been appended again
    std::size_t numDefaults_ = 0;
    Output output_{0};
    mutable Text displayName_;
    mutable Text displayDescription_;
    KeyMapScope scope_ = notInReports;
    bool valid_ = false;
    mutable void* tag_ = nullptr;
};

// The text of the resource, or the default if that is empty.
MISC_API LightweightString<wchar_t> defaultableResourceStr(ResId id, const LightweightString<char>& defaultText);
MISC_API LightweightString<wchar_t> defaultableResourceStr(ResId id, ResId defaultId);
