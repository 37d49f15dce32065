#pragma once

#include "Mw/LightweightString.h"
#include "Mw/Ptr.h"
#include "OS/Export.h"
#include "misc/base/UIString.h"

class KeyMap;

// A named group of actions that keys can be bound to, as the MappingManager sees it. Its internal name marks its
// stored mappings, and may not change between runs. One thread at a time.
class MISC_API MappingManagerClientBase : public virtual iObject
{
public:
    enum ScopeENUM : int
    {
        clientScope = 1
    };

    // The mapping manager forgets the client.
    ~MappingManagerClientBase() override;
    MappingManagerClientBase(const MappingManagerClientBase&) = delete;
    MappingManagerClientBase& operator=(const MappingManagerClientBase&) = delete;

    // The actions: null past the end. The client owns them.
    virtual KeyMap* keyMap(unsigned index) const = 0;
    virtual unsigned numKeyMaps() const = 0;

    // The action that a key press runs; null if there is none.
    virtual KeyMap* handlerOf(int keycode) const = 0;

    // The position of one of the client's actions, -1 for another.
    virtual int findIndex(KeyMap const* map) const = 0;

    virtual LightweightString<char> const& internalName() const = 0;
    virtual ScopeENUM scope() const = 0;

    // Bind and unbind a key, here alone: nothing is stored. 0 on success.
    virtual int addToKeyMap(unsigned keyMapIndex, int keycode) = 0;
    virtual int removeFromKeyMap(unsigned keyMapIndex, int keycode) = 0;

    // Enters the client in the mapping manager, which applies what the user has changed, or takes it out. Nothing
    // happens if that is so already.
    void registerWithManager();
    void unregisterWithManager();
    bool isRegistered() const noexcept { return registered_; }

    LightweightString<wchar_t> const& displayName() const { return displayName_.text(); }
    LightweightString<wchar_t> const& displayDescription() const { return displayDescription_.text(); }

protected:
    explicit MappingManagerClientBase(const UIString& displayName = {}, const UIString& displayDescription = {});

private:
    bool registered_ = false;
    UIString displayName_;
    UIString displayDescription_;
};
