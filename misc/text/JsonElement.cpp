#include "misc/text/JsonElement.h"

#include "misc/text/JsonText.h"

#include <limits>
#include <stdexcept>

namespace JSON
{

namespace
{

int* countOf(Element* element) noexcept
{
    return Mw::InternalRefCountTraits::countFor(element);
}

// Inline: the call takes a seventh of a look-up.
template <class List>
[[gnu::always_inline]] inline const Entry* find(const List& list, std::wstring_view name) noexcept
{
    const Entry* const end = list.entries + list.size;
    for (const Entry* entry = list.entries; entry != end; ++entry)
        if (isSame(entry->name, name))
            return entry;
    return nullptr;
}

template <class List>
const Entry* at(const List& list, unsigned index) noexcept
{
    return index < list.size ? list.entries + index : nullptr;
}

LightweightString<wchar_t> nameOf(const Entry* entry)
{
    return entry != nullptr ? stringOf(entry->name) : LightweightString<wchar_t>();
}

Mw::Ptr<Element> childOf(const Entry* entry) noexcept
{
    return Mw::Ptr<Element>(entry != nullptr ? entry->child : nullptr);
}

} // namespace

Element::~Element()
{
    for (Element* child = nullptr; releaseChildren(child), child != nullptr;)
        delete std::exchange(child, child->nextDoomed_);
    if (additions_ != nullptr)
        additions_->release();
}

void Element::operator delete(Element* first, std::destroying_delete_t) noexcept
{
    first->nextDoomed_ = nullptr;
    for (Element* doomed = first; doomed != nullptr;)
    {
        Element* const element = std::exchange(doomed, doomed->nextDoomed_);
        element->releaseChildren(doomed);
        Pool* const home = element->home_;
        element->~Element();
        if (home != nullptr)
            home->release();
        else
            ::operator delete(element);
    }
}

// Lets go of the children. Those that nobody else holds are put before `released`.
void Element::releaseChildren(Element*& released) noexcept
{
    for (unsigned i = std::exchange(children_.size, 0u); i != 0; --i)
    {
        Element* const child = children_.entries[i - 1].child;
        if (OS().atomics().decrement(countOf(child)) == 0)
            child->nextDoomed_ = std::exchange(released, child);
    }
}

// An entry without a value, at the end of the list.
Entry& Element::append(List& list, std::wstring_view name)
{
    constexpr std::size_t firstBlockBytes = 256;
    if (additions_ == nullptr)
        additions_ = Pool::make(firstBlockBytes);
    const Text* const nameText = textOf(*additions_, name);
    if (list.size == list.capacity)
    {
        if (list.capacity > std::numeric_limits<unsigned>::max() / 2)
            throw std::length_error("JSON::Element");
        const unsigned capacity = std::max(4u, 2 * list.capacity);
        auto* const entries = static_cast<Entry*>(additions_->take(capacity * sizeof(Entry)));
        std::copy(list.entries, list.entries + list.size, entries);
        list.entries = entries;
        list.capacity = capacity;
    }
    Entry& entry = list.entries[list.size];
    entry.name = nameText;
    return entry;
}

void Element::addAttrib(std::wstring_view name, const LightweightString<wchar_t>& value)
{
    Entry& entry = append(texts_, name);
    entry.text = textOf(*additions_, value);
    ++texts_.size;
}

void Element::addAttrib(std::wstring_view name, const wchar_t* value)
{
    addAttrib(name, LightweightString<wchar_t>(value));
}

void Element::addAttrib(std::wstring_view name, double value)
{
    append(numbers_, name).number = value;
    ++numbers_.size;
}

void Element::addAttrib(std::wstring_view name, bool value)
{
    append(bools_, name).truth = value;
    ++bools_.size;
}

Mw::Ptr<Element> Element::addChild(std::wstring_view name)
{
    const Mw::Ptr<Element> child(new Element);
    addChild(name, child);
    return child;
}

void Element::addChild(std::wstring_view name, const Mw::Ptr<Element>& child)
{
    if (!child)
        return;
    append(children_, name).child = child.get();
    ++children_.size;
    OS().atomics().increment(countOf(child.get()));
}

LightweightString<wchar_t> Element::getStringAttribName(unsigned index) const
{
    return nameOf(at(texts_, index));
}

LightweightString<wchar_t> Element::getNumericAttribName(unsigned index) const
{
    return nameOf(at(numbers_, index));
}

LightweightString<wchar_t> Element::getBoolAttribName(unsigned index) const
{
    return nameOf(at(bools_, index));
}

LightweightString<wchar_t> Element::getChildName(unsigned index) const
{
    return nameOf(at(children_, index));
}

LightweightString<wchar_t> Element::getString(unsigned index) const
{
    const Entry* const entry = at(texts_, index);
    return entry != nullptr ? stringOf(entry->text) : LightweightString<wchar_t>();
}

double Element::getNum(unsigned index) const noexcept
{
    const Entry* const entry = at(numbers_, index);
    return entry != nullptr ? entry->number : 0;
}

bool Element::getBool(unsigned index) const noexcept
{
    const Entry* const entry = at(bools_, index);
    return entry != nullptr && entry->truth;
}

Mw::Ptr<Element> Element::getChild(unsigned index) const noexcept
{
    return childOf(at(children_, index));
}

LightweightString<wchar_t> Element::getString(std::wstring_view name, const LightweightString<wchar_t>& otherwise) const
{
    const Entry* const entry = find(texts_, name);
    return entry != nullptr ? stringOf(entry->text) : otherwise;
}

double Element::getNum(std::wstring_view name, double otherwise) const noexcept
{
    const Entry* const entry = find(numbers_, name);
    return entry != nullptr ? entry->number : otherwise;
}

bool Element::getBool(std::wstring_view name, bool otherwise) const noexcept
{
    const Entry* const entry = find(bools_, name);
    return entry != nullptr ? entry->truth : otherwise;
}

Mw::Ptr<Element> Element::getChild(std::wstring_view name) const noexcept
{
    return childOf(find(children_, name));
}

bool Element::hasString(std::wstring_view name) const noexcept
{
    return find(texts_, name) != nullptr;
}

bool Element::hasNum(std::wstring_view name) const noexcept
{
    return find(numbers_, name) != nullptr;
}

bool Element::hasBool(std::wstring_view name) const noexcept
{
    return find(bools_, name) != nullptr;
}

std::vector<Mw::Ptr<Element>> Element::getChildren() const
{
    std::vector<Mw::Ptr<Element>> children;
    children.reserve(children_.size);
    for (unsigned i = 0; i < children_.size; ++i)
        children.push_back(getChild(i));
    return children;
}

} // namespace JSON
