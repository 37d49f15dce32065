#include "misc/settings/RegistryConfig.h"

#include "OS/Desktop.h"
#include "OS/FileMgr.h"
#include "OS/OS.h"
#include "libmw/AttribValuePair.h"
#include "libmw/Text.h"
#include "misc/base/TextFile.h"
#include "misc/diagnostics/Log.h"
#include "misc/identity/Cookie.h"
#include "misc/settings/ValueText.h"

namespace
{

RegistryConfig& makeImmortal(const wchar_t* fileName, iDesktop::eSettingsOwner owner)
{
    return *new RegistryConfig(Mw::currentSettings(fileName, owner), OS().fileMgr().findConfigurationFile(fileName));
}

// Parses a value where the store keeps it.
template <class T, class Parse>
struct Parser final : iSettings::Reader
{
    std::optional<T> value;
    Parse parse;

    explicit Parser(Parse parse) : parse(parse) {}
    void read(const LightweightString<char>& text) override { value = parse(text); }
};

} // namespace

RegistryConfig::RegistryConfig(Mw::Ptr<iSettings> settings, const LightweightString<wchar_t>& legacyPath)
    : settings_(std::move(settings))
{
    if (!legacyPath.empty() && OS().fileMgr().exists(legacyPath))
        legacy_ = Mw::makePtr<configb>(toUTF8(legacyPath).c_str());
}

const RegistryConfig::Text* RegistryConfig::legacyValue(std::string_view key, std::string_view section) const noexcept
{
    if (!legacy_ || !section.empty() || key.empty())
        return nullptr;
    const ConfigEntryT* const entry = legacy_->find_var(key);
    return entry != nullptr && !entry->value_.empty() ? &entry->value_ : nullptr;
}

template <class T, class Parse>
std::optional<T> RegistryConfig::parsed(std::string_view key, std::string_view section, Parse parse) const
{
    if (const Text* const legacy = legacyValue(key, section))
        return parse(*legacy);
    Parser<T, Parse> parser(parse);
    settings_->readValue(key, section, parser);
    return parser.value;
}

RegistryConfig::Text RegistryConfig::getValue(std::string_view key, const Text& dflt, std::string_view section) const
{
    if (const Text* const legacy = legacyValue(key, section))
        return *legacy;
    Text value = dflt;
    settings_->findValue(key, section, value);
    return value;
}

RegistryConfig::Text RegistryConfig::getValue(std::string_view key, char const* dflt, std::string_view section) const
{
    return getValue(key, Text(dflt), section);
}

int RegistryConfig::getValue(std::string_view key, int dflt, std::string_view section) const
{
    return parsed<int>(key, section, Mw::valuetext::toInt).value_or(dflt);
}

bool RegistryConfig::getValue(std::string_view key, bool dflt, std::string_view section) const
{
    const auto parse = [dflt](std::string_view text) { return Mw::valuetext::toBool(text, dflt); };
    return parsed<bool>(key, section, parse).value_or(dflt);
}

double RegistryConfig::getValue(std::string_view key, double dflt, std::string_view section) const
{
    return parsed<double>(key, section, Mw::valuetext::toDouble).value_or(dflt);
}

Cookie RegistryConfig::getValue(std::string_view key, const Cookie& dflt, std::string_view section) const
{
    const auto parse = [](const Text& text) { return Cookie(text.c_str(), false); };
    const std::optional<Cookie> found = parsed<Cookie>(key, section, parse);
    return found ? *found : parse(dflt.asString(false));
}

RegistryConfig::eSource RegistryConfig::sourceOf(std::string_view key, std::string_view section) const
{
    if (legacyValue(key, section) != nullptr)
        return eFromLegacyFile;
    Text stored;
    return settings_->findValue(key, section, stored) ? eFromStore : eFromDefault;
}

int RegistryConfig::setValue(std::string_view key, const Text& value, std::string_view section)
{
    return settings_->setValue(key, value, section);
}

int RegistryConfig::setValue(std::string_view key, char const* value, std::string_view section)
{
    return setValue(key, Text(value), section);
}

int RegistryConfig::setValue(std::string_view key, int value, std::string_view section)
{
    return setValue(key, StringFromInteger(value), section);
}

int RegistryConfig::setValue(std::string_view key, bool value, std::string_view section)
{
    return setValue(key, Text(BoolAsString(value)), section);
}

int RegistryConfig::setValue(std::string_view key, double value, std::string_view section)
{
    return setValue(key, StringFromFloat(value), section);
}

int RegistryConfig::setValue(std::string_view key, const Cookie& value, std::string_view section)
{
    return setValue(key, value.asString(false), section);
}

int RegistryConfig::removeValue(std::string_view key, std::string_view section)
{
    return settings_->removeValue(key, section);
}

int RegistryConfig::apply(const std::vector<iSettings::Change>& changes)
{
    return settings_->apply(changes);
}

void RegistryConfig::getMultipleValues(std::vector<iSettings::NameValuePair>& result, std::string_view section) const
{
    settings_->getMultipleValues(result, section);
}

void RegistryConfig::exportTo(TextFile& file, std::string_view section) const
{
    std::vector<iSettings::NameValuePair> pairs;
    getMultipleValues(pairs, section);
    for (const iSettings::NameValuePair& pair : pairs)
    {
        const Text line = Mw::AttribValuePair(pair.name, pair.value, '=').asString('=');
        if (line.find('\n') == Text::npos)
            file.appendLine(line);
        else
            LogString(("A setting with more than one line was not exported: " + pair.name + "\n").c_str());
    }
}

void RegistryConfig::importFrom(const TextFile&, std::string_view, bool) {}

RegistryConfig& GlobalConfig()
{
    static RegistryConfig& config = makeImmortal(L"config.dat", iDesktop::eMachineSettings);
    return config;
}

RegistryConfig& UserConfig()
{
    static RegistryConfig& config = makeImmortal(L"userconfig.dat", iDesktop::eUserSettings);
    return config;
}
