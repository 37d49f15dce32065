#pragma once

#include "Mw/LightweightString.h"
#include "Mw/Ptr.h"
#include "OS/Export.h"

#include <new>
#include <string_view>
#include <vector>

namespace JSON
{

class Pass;
class Pool;
struct Entry;

// A node of a tree of JSON: four lists, each in order of arrival, of text, numeric and boolean attributes and of
// children, all with names. Objects and arrays are both elements; the members of an array have empty names.
//
// Text is wide. Names and texts lie in memory that the elements of one document share, and are handed out as
// strings of their own. A child is held by its parent and by whoever took a Ptr to it; trees of any depth are
// destroyed without recursion.
//
// Threads: any number may read an element while nobody changes it. Changing one doesn't touch others.
class MISC_API Element final : public iObject
{
public:
    Element() noexcept = default;
    ~Element() override;
    Element(const Element&) = delete;
    Element& operator=(const Element&) = delete;

    // Append to the list of their kind. A name may be there already, in the same list or another: whoever asks
    // for it gets the first. A null text is an empty one.
    void addAttrib(std::wstring_view name, const LightweightString<wchar_t>& value);
    void addAttrib(std::wstring_view name, const wchar_t* value);
    void addAttrib(std::wstring_view name, double value);
    void addAttrib(std::wstring_view name, bool value);

    // Appends a new child, which is given back, or one that there is; null isn't appended. An element must not
    // come to hold itself, by whatever way.
    Mw::Ptr<Element> addChild(std::wstring_view name);
    void addChild(std::wstring_view name, const Mw::Ptr<Element>& child);

    unsigned getNumStringAttribs() const noexcept { return texts_.size; }
    unsigned getNumNumericAttribs() const noexcept { return numbers_.size; }
    unsigned getNumBoolAttribs() const noexcept { return bools_.size; }
    unsigned getNumChildren() const noexcept { return children_.size; }

    // By index in the list of their kind. Past its end: an empty name or text, 0, false, null.
    LightweightString<wchar_t> getStringAttribName(unsigned index) const;
    LightweightString<wchar_t> getNumericAttribName(unsigned index) const;
    LightweightString<wchar_t> getBoolAttribName(unsigned index) const;
    LightweightString<wchar_t> getChildName(unsigned index) const;
    LightweightString<wchar_t> getString(unsigned index) const;
    double getNum(unsigned index) const noexcept;
    bool getBool(unsigned index) const noexcept;
    Mw::Ptr<Element> getChild(unsigned index) const noexcept;

    // By name, among those of their kind: the first that has it, whole and with its case. Otherwise the default,
    // or null.
    LightweightString<wchar_t> getString(std::wstring_view name,
                                         const LightweightString<wchar_t>& otherwise = {}) const;
    double getNum(std::wstring_view name, double otherwise = 0) const noexcept;
    bool getBool(std::wstring_view name, bool otherwise = false) const noexcept;
    Mw::Ptr<Element> getChild(std::wstring_view name) const noexcept;

    bool hasString(std::wstring_view name) const noexcept;
    bool hasNum(std::wstring_view name) const noexcept;
    bool hasBool(std::wstring_view name) const noexcept;

    // All children in order.
    std::vector<Mw::Ptr<Element>> getChildren() const;

    // What a dropped Ptr calls: destroys the element, and those below it that nobody else holds, in a loop.
    static void operator delete(Element* first, std::destroying_delete_t) noexcept;

private:
    friend class Pass;

    // In the memory of a pool. `size` entries are used.
    struct List
    {
        Entry* entries = nullptr;
        unsigned size = 0;
        unsigned capacity = 0;
    };

    // A reader's element, in a pool which it keeps.
    explicit Element(Pool& home) noexcept : home_(&home) {}

    Entry& append(List& list, std::wstring_view name);
    void releaseChildren(Element*& released) noexcept;

    List texts_;
    List numbers_;
    List bools_;
    List children_;
    Pool* home_ = nullptr;          // where the element itself lies; null on the heap
    Pool* additions_ = nullptr;     // of what was added after reading, made when needed
    Element* nextDoomed_ = nullptr; // while it is destroyed
};

} // namespace JSON
