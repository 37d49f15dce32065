#include "misc/settings/config.h"

#include "libmw/Text.h"
#include "misc/diagnostics/Log.h"
#include "misc/identity/Cookie.h"
#include "misc/settings/CaselessKey.h"
#include "misc/settings/RegistryConfig.h"
#include "misc/settings/ValueText.h"

#include <cstring>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <unordered_map>

namespace
{

using Text = LightweightString<char>;

// The texts that were handed out, by name without case. One that is in stays as it is, and is never
// destroyed, since its readers keep its address.
class RememberedTexts
{
public:
    // Null if there is none.
    char const* find(std::string_view name) const
    {
        const std::shared_lock lock(mutex_);
        const auto found = texts_.find(name);
        return found != texts_.end() ? found->second.c_str() : nullptr;
    }

    // Of two threads that come with one name, both get the text of the first.
    char const* add(char const* name, const Text& text)
    {
        const std::unique_lock lock(mutex_);
        return texts_.try_emplace(toLower(Text(name)), text).first->second.c_str();
    }

private:
    mutable std::shared_mutex mutex_;
    std::unordered_map<Text, Text, Mw::caseless::Hash, Mw::caseless::Equal> texts_;
};

RememberedTexts& rememberedTexts()
{
    static RememberedTexts& texts = *new RememberedTexts;
    return texts;
}

// What is too long for a formatted line of the log goes out as it is.
void logOverride(const char* name, const char* value, const char* dflt)
{
    const auto line = "Default overridden: " + std::string(name) + " = " + value + " (dflt " + dflt + ")\n";
    if (line.size() <= 255)
        Log("Default overridden: %s = %s (dflt %s)\n", name, value, dflt);
    else
        LogString(line.c_str());
}

} // namespace

int config_int(char const* name, int dflt)
{
    const int value = GlobalConfig().getValue(name, dflt, "");
    if (value != dflt)
        Log("Default overridden: %s = %d (dflt %d)\n", name, value, dflt);
    return value;
}

double config_double(char const* name, double dflt)
{
    const double value = GlobalConfig().getValue(name, dflt, "");
    if (value != dflt)
        Log("Default overridden: %s = %f (dflt %f)\n", name, value, dflt);
    return value;
}

long config_long(char const* name, long dflt)
{
    return Mw::valuetext::toLong(GlobalConfig().getValue(name, Mw::valuetext::fromLong(dflt), "").c_str());
}

bool config_Bool(char const* name, bool dflt)
{
    return GlobalConfig().getValue(name, dflt, "");
}

Cookie config_cookie(char const* name, Cookie const& dflt)
{
    return GlobalConfig().getValue(name, dflt, "");
}

void config_string(char const* name, char* buf, unsigned int size, char const* dflt)
{
    const Text value = GlobalConfig().getValue(name, dflt, "");
    if (value != dflt)
        logOverride(name, value.c_str(), dflt != nullptr ? dflt : "");
    std::strncpy(buf, value.c_str(), size);
    buf[size] = 0;
}

char const* config_string(char const* name, char const* dflt)
{
    if (char const* const remembered = rememberedTexts().find(name))
        return remembered;
    const Text value = GlobalConfig().getValue(name, dflt, "");
    return value == dflt ? dflt : rememberedTexts().add(name, value);
}

int config_init(char const* file)
{
    // Null until a table was read whole. Kept to the end of the process, like all settings.
    static Mw::Ptr<configb>& table = *new Mw::Ptr<configb>;
    if (table)
        return 0;
    const auto read = Mw::makePtr<configb>(file != nullptr ? file : "config.dat", "\\oma\\dat\\config.dat");
    if (read->readFailed())
        return 1;
    table = read;
    return 0;
}

void config_flush() {}
