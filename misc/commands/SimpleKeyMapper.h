#pragma once

#include "misc/commands/KeyIndex.h"
#include "misc/commands/KeyMap.h"
#include "misc/commands/MappingManagerClientBase.h"

#include <memory>
#include <vector>

// A client that owns a list of key maps. For high performance it finds the map of a key in one search, and then a
// code stands in one map only; otherwise it looks through the maps in their order. One thread at a time; look-ups
// alone are safe from many.
class MISC_API SimpleKeyMapper : public MappingManagerClientBase
{
public:
    using Name = LightweightString<char>;

    enum eLookup : bool
    {
        walk = false,
        highPerformance = true
    };

    // Copies the maps, of a table up to the first that isn't valid, and registers with the manager. Their present
    // keys are the defaults. A code that stands in two maps is reported by qa_splat; the first map has it.
    SimpleKeyMapper(const Name& internalName, ResId displayName, ResId displayDescription, KeyMap const* maps,
                    bool isHighPerformance, ScopeENUM scope);
    SimpleKeyMapper(const Name& internalName, ResId displayName, ResId displayDescription, std::vector<KeyMap> maps,
                    bool isHighPerformance, ScopeENUM scope);
    ~SimpleKeyMapper() override;

    KeyMap* keyMap(unsigned index) const override;
    unsigned numKeyMaps() const override { return static_cast<unsigned>(maps_.size()); }
    KeyMap* handlerOf(int keycode) const override { return lookup(keycode); }
    int findIndex(KeyMap const* map) const override;
    Name const& internalName() const override { return internalName_; }
    ScopeENUM scope() const override { return scope_; }

    // Refuses a code that stands in another map, if the look-up is of high performance.
    int addToKeyMap(unsigned keyMapIndex, int keycode) override;
    int removeFromKeyMap(unsigned keyMapIndex, int keycode) override;

    // The first map that holds the code, null if none does; its output value or string, or the given default.
    inline KeyMap* lookup(int keycode) const;
    int lookup(int keycode, int defaultValue) const;
    Name lookup(int keycode, const Name& defaultText) const;

    ResId displayNameId() const noexcept { return displayNameId_; }
    ResId displayDescriptionId() const noexcept { return displayDescriptionId_; }

    // For callers of old: they do nothing.
    void dmuAdd(unsigned long) const noexcept {}
    void dmuSub(unsigned long) const noexcept {}

private:
    void build();
    KeyMap* walkTo(int keycode) const;
    bool mayStandIn(const KeyMap& map, int keycode) const;
    void indexAnew(int keycode);

    const Name internalName_;
    const ResId displayNameId_;
    const ResId displayDescriptionId_;
    const ScopeENUM scope_;
    const bool isHighPerformance_;
    mutable std::vector<KeyMap> maps_; // never grows, so that its elements stay where they are
    KeyIndex index_;                   // empty without high performance
    std::vector<int> sharedCodes_;     // the codes that stood in two maps from the beginning
};

inline KeyMap* SimpleKeyMapper::lookup(int keycode) const
{
    return isHighPerformance_ ? index_.find(keycode) : walkTo(keycode);
}
