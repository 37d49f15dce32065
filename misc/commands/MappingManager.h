#pragma once

#include "Mw/LightweightString.h"
#include "Mw/Vector.h"
#include "OS/Export.h"
#include "OS/Settings.h"

#include <vector>

class KeyMap;
class MappingManagerClientBase;
class MappingManagerRegistryString;

// All clients of the key mapping, and what the user has changed in them. Only the differences from the defaults are
// stored, in the section "Configuration\MappingManager2" of UserConfig(): the name of a value is a
// MappingManagerRegistryString, its value says whether the key was added or taken away. When a client registers,
// its differences are applied: first all that take a key away, then all that add one.
//
// Differences of clients and actions that are not there stay in the store. What is in memory is what a new start on
// the same store would bring: a change that can't be stored is undone, and false. One thread at a time, which may be
// before `main`.
class MISC_API MappingManager
{
public:
    using Name = LightweightString<char>;
    using Text = LightweightString<wchar_t>;

    static MappingManager& globalMappingManager();

    // Brings the mappings of the old section "MappingManager" over, once, if there are none yet.
    MappingManager();
    MappingManager(const MappingManager&) = delete;
    MappingManager& operator=(const MappingManager&) = delete;

    // Applies the stored differences and enters the client, which stays its owner's. False if the name is taken.
    bool registerMapper(MappingManagerClientBase* client);
    // Takes out the client of this one's name; false if there is none.
    bool unregisterMapper(MappingManagerClientBase* client);

    unsigned numClients() const noexcept { return static_cast<unsigned>(clients_.size()); }
    // Null, and a qa_splat, past the end.
    MappingManagerClientBase* client(unsigned index) const;

    // A change by the user: applied and stored in one step, or not at all. False as well for an action whose name, or
    // whose client's, can't be stored.
    bool addToKeyMap(unsigned client, unsigned keyMap, int keycode);
    bool removeFromKeyMap(unsigned client, unsigned keyMap, int keycode);

    // Bring the defaults of all clients, of one, or of one action back, and forget its differences. Of an action, a
    // default key that another action has meanwhile stays there, and stays stored as taken away. False if nothing
    // was done because the store refused.
    bool resetToDefault();
    bool resetToDefault(unsigned client);
    bool resetToDefault(unsigned client, unsigned keyMap);

    // Appends a line for each stored difference: "true:" or "false:" and its name.
    void exportMappings(Vector<Name>& lines) const;

    // Puts the differences of the lines in the place of those of all clients; lines of another form are passed over.
    // In one step: if the store refuses, it and the mappings stay as they are, and the result is false. The second
    // reads names with key codes of the old form.
    bool importMappings(const Vector<Name>& lines);
    bool importLegacyMappings(const Vector<Name>& lines);

    // Old key codes have their flags in bits 8 to 14. A name with old codes that can't be read, and a plain key that
    // becomes the code of a gesture's slot, give an empty one.
    static int convertLegacyKeycode(int old) noexcept;
    static Name convertLegacyKeycodeString(const Name& old);

    static bool keyCodeIsOutOfRange(int) noexcept { return false; }

    // An action that takes a key.
    struct Use
    {
        unsigned client;
        unsigned keyMap;
        Text clientName;
        Text actionName;
        Name clientInternalName; // clients may share the other one
    };
    struct Conflict
    {
        int keycode;
        std::vector<Use> uses; // two or more, in the order of clients and actions
    };
    // The codes that are bound more than once over all clients, in the order of the codes.
    std::vector<Conflict> conflicts() const;

    // What a key does, in lines for people: its code and display form, each action that takes it, whether by default
    // or by a stored difference, actions that the user has taken it from, and the command that it runs.
    Text explainKey(int keycode) const;

    // Writes all clients with their actions and keys to the debug console.
    void debugDumpInfo() const;

private:
    friend class MappingManagerClientBase;
    class Outputs;
    class Undo;
    struct Difference;
    using Client = MappingManagerClientBase;
    using Differences = std::vector<Difference>;
    using Changes = std::vector<iSettings::Change>;

    void migrate();
    void forget(Client* client);
    bool reset(unsigned firstClient, unsigned endClient, const unsigned* keyMap);
    bool import(const Vector<Name>& lines, Name (*nameOf)(const Name&));

    static Differences differencesOf(const Client& client, const Outputs& outputs, bool isTraced = false);
    static void applyMappingsFromRegistry(Client& client);
    static void apply(Client& client, const Differences& differences);
    static void renew(const Client& client, const Differences& differences);
    static bool forgetSameKey(const Client& client, const MappingManagerRegistryString& key, Changes& changes);

    std::vector<MappingManagerClientBase*> clients_;
};

// debugDumpInfo of the global manager.
MISC_API void DebugDumpMappings();
