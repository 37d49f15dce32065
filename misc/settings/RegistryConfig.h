#pragma once

#include "Mw/LightweightString.h"
#include "Mw/Ptr.h"
#include "OS/Export.h"
#include "OS/Settings.h"
#include "misc/settings/configb.h"

#include <optional>
#include <string_view>
#include <vector>

class Cookie;
class IdStamp;
class TextFile;

// The settings of the application: named text values in named sections, in a store of the platform, with
// a legacy text file laid over its root section. The empty section is the root. GlobalConfig() is the
// machine's, UserConfig() the user's.
//
// What the legacy file holds beats the store and every default, also after a setValue, which writes to the
// store alone: `sourceOf` tells where a value comes from. Names in the store mind case, those in the file
// don't.
//
// Numbers are stored as the C locale writes them, doubles so that they read back equal. Nothing is made on
// disk before the first value is set. Any thread, as far as the store allows it: the standard one does.
class MISC_API RegistryConfig
{
public:
    using Text = LightweightString<char>;

    enum eSource
    {
        eFromDefault, // neither file nor store has it
        eFromStore,
        eFromLegacyFile
    };

    // Reads the legacy file if there is one; what can be read of it counts.
    RegistryConfig(Mw::Ptr<iSettings> settings, const LightweightString<wchar_t>& legacyPath);

    // The value, or `dflt` if there is none. A text that is no number reads as the number it begins with,
    // else 0; one that is neither "true" nor "false" as the default; one that is no cookie as the invalid
    // cookie. Cookies and id stamps go through their text, also the default: a cookie comes back without a
    // sub-type of its own.
    Text getValue(std::string_view key, const Text& dflt, std::string_view section) const;
    Text getValue(std::string_view key, char const* dflt, std::string_view section) const;
    int getValue(std::string_view key, int dflt, std::string_view section) const;
    bool getValue(std::string_view key, bool dflt, std::string_view section) const;
    double getValue(std::string_view key, double dflt, std::string_view section) const;
    Cookie getValue(std::string_view key, const Cookie& dflt, std::string_view section) const;
    IdStamp getValue(std::string_view key, const IdStamp& dflt, std::string_view section) const;

    eSource sourceOf(std::string_view key, std::string_view section) const;

    // Give what the store answers, an iSettings::eResult. Cookies are stored without their sub-type.
    int setValue(std::string_view key, const Text& value, std::string_view section);
    int setValue(std::string_view key, char const* value, std::string_view section);
    int setValue(std::string_view key, int value, std::string_view section);
    int setValue(std::string_view key, bool value, std::string_view section);
    int setValue(std::string_view key, double value, std::string_view section);
    int setValue(std::string_view key, const Cookie& value, std::string_view section);
    int setValue(std::string_view key, const IdStamp& value, std::string_view section);

    // From the store alone.
    int removeValue(std::string_view key, std::string_view section);

    // Many writes to the store as one, as iSettings::apply.
    int apply(const std::vector<iSettings::Change>& changes);

    // Appends what the store has of the section, in the order of the names.
    void getMultipleValues(std::vector<iSettings::NameValuePair>& result, std::string_view section) const;

    // Appends a line "name=value" for each of them to the file. One with a line feed is left out, and
    // logged.
    void exportTo(TextFile& file, std::string_view section) const;

    // Does nothing, on purpose: settings are never taken over from a file as a whole.
    void importFrom(const TextFile& file, std::string_view section, bool overwrite);

private:
    // The legacy file's value, null if it has none that counts.
    const Text* legacyValue(std::string_view key, std::string_view section) const noexcept;

    // Parses the text in force; nothing where there is none.
    template <class T, class Parse>
    std::optional<T> parsed(std::string_view key, std::string_view section, Parse parse) const;

    Mw::Ptr<iSettings> settings_;
    Mw::Ptr<configb> legacy_; // null if there is no file
};

// The settings of this machine ("config.dat") and of this user ("userconfig.dat"), made at the first call
// and never destroyed: before `main` and after it, on any thread. They follow a desktop service that is
// replaced; the legacy files are read once.
MISC_API RegistryConfig& GlobalConfig();
MISC_API RegistryConfig& UserConfig();
