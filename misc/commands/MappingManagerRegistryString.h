#pragma once

#include "Mw/LightweightString.h"
#include "OS/Export.h"
#include "misc/commands/MapItem.h"

#include <string>

// One stored difference between the user's keys and the defaults: the client and the output of the action, and the
// key that was added to it or taken away. Its text is the name under which the settings keep it; six fields, each
// closed by a colon (docs/formats.md). One thread at a time.
//
//     GlobalCommands:"MarkIn":0x2000049::::            Ctrl+I
//     TextEditingMapper:0x22000043::0x0041:0x0042:P:   'A' held, 'B' pressed
class MISC_API MappingManagerRegistryString
{
public:
    using Name = LightweightString<char>;

    enum PartENUM
    {
        whole = 0, // with the comment, if "Show Mapping Comments" of GlobalConfig() is true
        upToClient = 1,
        upToOutput = 2,
        upToKey = 3 // all six fields
    };

    MappingManagerRegistryString() = default;
    explicit MappingManagerRegistryString(Name internalName) : internalName_(std::move(internalName)) {}
    // An output string that is empty or blank counts as none.
    MappingManagerRegistryString(Name internalName, int outputValue, Name outputString, const MapItem& item)
        : internalName_(std::move(internalName)), outputValue_(outputValue), outputString_(std::move(outputString)),
          item_(item)
    {
    }

    const Name& internalName() const noexcept { return internalName_; }
    int outputValue() const noexcept { return outputValue_; }
    const Name& outputString() const noexcept { return outputString_; }
    void outputString(Name name) { outputString_ = std::move(name); }
    const MapItem& mapItem() const noexcept { return item_; }
    void mapItem(const MapItem& item) { item_ = item; }
    // Whether the key is a gesture of two keys, with a slot or without.
    bool isGesture() const noexcept { return item_.usingCke() || item_.lacksSlot(); }
    void outputValue(int value) noexcept { outputValue_ = value; }

    // The text, up to and including the colon that closes the part.
    Name registryString(PartENUM part = whole) const;

    // Appends the six fields, and the comment if it is wanted.
    void appendTo(std::string& text, bool isCommentWanted) const;
    static bool areCommentsWanted();

    // Reads a text; a comment behind the sixth colon, and what stands in fields that the form leaves empty, is
    // passed over. False if it is none, with this object in no particular state; one without six colons is
    // reported on the debug console. A plain key may not be the code of a gesture's slot.
    bool registryString(const Name& text);

private:
    void appendOutput(std::string& text) const;
    void appendKey(std::string& text) const;
    void appendComment(std::string& text) const;

    Name internalName_;
    int outputValue_ = -1; // -1: not given
    Name outputString_;
    MapItem item_;
};
