#pragma once

#include "Mw/LightweightString.h"
#include "OS/Export.h"

#include <cstdint>
#include <vector>

class StreamFile;

// What the headers of a stored object tell without its class: its layers, where it ends, whether the records fit
// into each other. For tools that look into files of any application. A plain value.
class MISC_API ObjectOutline
{
public:
    struct Layer
    {
        LightweightString<char> name;
        unsigned majorRev = 0;
        unsigned minorRev = 0;
        std::uint64_t bodyPosition = 0;
        unsigned bodyBytes = 0;
    };

    // Reads the object at a place in the file, where the file then stands anywhere.
    ObjectOutline(StreamFile& file, std::uint64_t position);

    // Whether each header is one, the sizes fit, the layers are those of the hierarchy's name, and the layer of
    // a Taggable, if there is one, holds an id and a kind. What else is in the bodies can't be told.
    bool isWhole() const noexcept { return damage_.empty(); }
    // What is wrong.
    const LightweightString<char>& damage() const noexcept { return damage_; }
    // Whether it is known where the object ends, damaged or not.
    bool hasEnd() const noexcept { return length_ != 0; }

    std::uint64_t position() const noexcept { return position_; }
    std::uint64_t length() const noexcept { return length_; }
    // The format that the headers are in, 1 or 2.
    unsigned version() const noexcept { return version_; }
    // The name of the hierarchy as it is stored.
    const LightweightString<char>& hierarchyName() const noexcept { return hierarchyName_; }
    // From the one of Streamable on, as far as they could be read.
    const std::vector<Layer>& layers() const noexcept { return layers_; }
    // As text, of an object that a table stored.
    const LightweightString<char>& id() const noexcept { return id_; }
    const LightweightString<char>& kind() const noexcept { return kind_; }

private:
    struct Record;

    // Reads the record at `position`, which ends no later than `end`; moves both to where the next one is.
    bool readLayer(StreamFile& file, std::uint64_t& position, std::uint64_t& end);
    void readBody(StreamFile& file, const Layer& layer, std::uint64_t end);
    bool isOfItsHierarchy() const;
    bool fail(const char* reason);

    std::uint64_t position_;
    std::uint64_t length_ = 0;
    unsigned version_ = 1;
    LightweightString<char> hierarchyName_;
    std::vector<Layer> layers_;
    LightweightString<char> id_;
    LightweightString<char> kind_;
    LightweightString<char> damage_;
};
