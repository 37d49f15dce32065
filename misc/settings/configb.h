#pragma once

#include "Mw/LightweightString.h"
#include "Mw/iObject.h"
#include "OS/Export.h"
#include "misc/settings/ConfigTable.h"

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>

class Cookie;
class IdStamp;
class PStream;
class TextFile;
class strp_field;

// Who wants to hear that something it owns has changed.
class MISC_API Dirtiable
{
public:
    virtual void setDirty(bool dirty) = 0;

protected:
    ~Dirtiable() = default;
};

// An ordered table of named text values, each with a type word, and its text form: the "config.dat" of
// old, and a value that other objects hold, pack and print. Keys differ beyond the case of A to Z and hold
// no white space. docs/formats.md draws the text and the packed form.
//
//     {
//     # a comment
//     autosave:int 5
//     path C:\Mwproj
//     }
//
// The type words are "int", "double", "cookie", "bool", "IdStamp" and "textdata". The first type of a key
// stands: what comes later under another type is ignored.
//
// Numbers follow the C locale. One thread at a time; any number may read a table that nobody changes.
class MISC_API configb : public virtual Mw::InternalRefCount
{
public:
    explicit configb(Dirtiable* owner = nullptr);

    // Read one file, or the alternate if the primary can't be opened; the configuration is named after the
    // primary. What was read of a bad file stays. readFailed() tells.
    explicit configb(char const* file);
    configb(char const* primary, char const* alternate);

    // Reads from a stream that is open and stays the caller's.
    configb(std::ifstream* stream, char const* name);

    explicit configb(PStream& stream);

    // Entries, end string, name and dirty flag. A copy has no owner; a target of assignment keeps its own.
    configb(const configb& other);
    configb& operator=(const configb& other);
    ~configb() override;

    // The readers below give 0 for success and 1 otherwise, and add to what is there already, through `set`.
    // A line of a file has at most 1023 bytes; a longer one ends the read, and what came before it stays.

    // Drops one line, of any length, reads the rest and clears the dirty flag.
    int read_from_file(std::ifstream* stream);
    int readFromFile(LightweightString<wchar_t> const& path);

    // Reads up to the next entry or the end of the table, from the stream that read_from_file was given.
    int read_next_item();
    int read_all();

    // Forgets everything but the owner, and reads the file anew.
    int reinit(char const* file);
    int reinit(char const* primary, char const* alternate);

    // Whether the last read of a whole file failed.
    bool readFailed() const noexcept { return readFailed_; }

    // Reads from a line that is "{" to one that is the end string exactly. Gives 1, and `line` is behind
    // the end, or 0 where there is no "{", and `line` stays.
    int buildFrom(TextFile const& file, unsigned int& line);
    int buildFrom(TextFile const& file);
    int fromString(LightweightString<char> const& text);

    // One line, which is destroyed. 1 if it ended the table, 0 otherwise.
    int parseLine(char* line);

    // Whether a line is a comment: by its first byte.
    static bool isComment(char const* line) noexcept { return *line == '#'; }

    // The text writers leave out an entry that their text can't carry (a key that is empty, begins with "#",
    // holds white space or a colon or matches the end string; white space in the type; a line feed in the
    // value), and log its name. `pack` carries all.

    // Each line behind `indent` blanks, entries behind two more.
    void writeTo(TextFile& file, unsigned short indent) const;
    LightweightString<char> asString() const;

    // The entries whose key begins with `prefix`, without case; null and empty take all. A line that is too
    // long to be read back from a file is left out too. The form with a path replaces the file whole and
    // gives 0 for success.
    void dump(std::ofstream* stream, char const* prefix) const;
    int dump(LightweightString<wchar_t> const& path) const;

    void pack(PStream& stream) const;

    // Adds what was packed, through `set`, and clears the dirty flag. Ends where the stream does.
    void unpack(PStream& stream, unsigned char version);

    // Stores a value under a type; null means none is given. A key that has another type keeps both its
    // value and its type; a null value changes nothing but adds the key; a null key is no key, here and
    // below. A change sets the dirty flag.
    void set(char const* key, char const* value, char const* type = nullptr);
    void set(char const* key, LightweightString<char> const& value);
    void set(char const* key, ConfigEntryT const& entry);
    void set(char const* key, int value);
    void set(char const* key, double value); // 8 decimals
    void set(char const* key, bool value);
    void set(char const* key, Cookie const& value); // without its sub-type
    void set(char const* key, strp_field const& value);
    void set(char const* key, IdStamp const& value);

    void remove(char const* key);
    void clear();
    bool isEmpty() const noexcept { return table_.empty(); }

    // Null if there is none, here and in the next; valid until the table is changed.
    ConfigEntryT const* find_var(std::string_view key) const noexcept { return table_.find(key); }

    // The value as text.
    char const* in(char const* key) const noexcept;

    // Give 0 if the key is found, else -1 with the output left alone.
    int in(char const* key, int& out) const;          // "true" is 1, "false" 0; what is no number gives -1
    int in(char const* key, unsigned int& out) const; // the same
    int in(char const* key, double& out) const;       // what is no number is 0.0
    int in(char const* key, bool& out) const;         // what is neither "true" nor "false" leaves the output
    int in(char const* key, char* out) const;         // the caller sees to the room
    int in(char const* key, char* out, unsigned int sizeBytes) const; // cut to the room, and terminated
    int in(char const* key, Cookie& out) const;
    int in(char const* key, strp_field& out) const;
    int in(char const* key, IdStamp& out) const;
    int in(char const* key, ConfigEntryT& out) const;

    // Setting the flag tells the owner.
    void set_dirty(bool dirty);
    bool get_dirty() const noexcept { return dirty_; }
    void set_end_str(char const* text) { endString_ = text; }
    void set_config_name(char const* name) { name_ = name; }

    // The order of keys: three-way, without the case of A to Z.
    static int caseInsensitiveCompare(char const* a, char const* b) noexcept;

    // Whether opening a file and an unexpected end are told on the console and on standard output; off at
    // first.
    static void setDebug(bool on) noexcept;

private:
    // As the public form; a view without data stands for null.
    void set(std::string_view key, std::string_view value, std::string_view type);
    int parseLine(char* line, std::size_t length);
    void reserveFor(std::ifstream& stream);
    bool endsTable(std::string_view key) const noexcept;

    // What keeps an entry from being written as text; null for nothing.
    char const* reasonAgainstText(const ConfigTable::Item& item) const noexcept;

    // Calls line(text) for each entry's line, behind `indent` blanks, that has no such reason and at most
    // `maxLength` characters.
    template <class Function>
    void writeEntries(unsigned int indent, std::string_view prefix, std::size_t maxLength, Function line) const;
    std::string dumped(std::string_view prefix) const;

    LightweightString<char> endString_ = "}";
    LightweightString<char> name_;
    bool dirty_ = false;
    Dirtiable* owner_ = nullptr;
    ConfigTable table_;
    std::ifstream* file_ = nullptr; // while reading
    bool readFailed_ = false;
};

// Finds the parts of a line as offsets: the key from `start` to `keyEnd`, a type (where typeStart is below
// typeEnd), and the value, less white space at its end. A byte with the top bit set is never white space.
// 0 for a line without tokens: blank, or with "#" as its first character that isn't blank.
MISC_API int tokenise(char* line, int* start, int* keyEnd, int* valueStart, int* valueEnd, int* typeStart,
                      int* typeEnd);
