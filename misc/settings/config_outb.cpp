#include "misc/settings/config_outb.h"

#include "misc/base/StrpField.h"
#include "misc/identity/Cookie.h"
#include "misc/settings/ValueText.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <string>

namespace
{

// Deeper tables stand at the last margin.
constexpr int deepest = 32;

int depth = 0;

std::array<std::string, deepest + 1> make_prefixes()
{
    std::array<std::string, deepest + 1> prefixes;
    for (std::size_t i = 1; i < prefixes.size(); ++i)
        prefixes[i] = prefixes[i - 1] + "  ";
    return prefixes;
}

const std::string& prefix()
{
    static const auto& prefixes = *new auto(make_prefixes());
    return prefixes[static_cast<std::size_t>(std::min(depth, deepest))];
}

} // namespace

config_outb::config_outb(std::ofstream* stream) : stream_(stream)
{
    if (stream_ != nullptr)
        *stream_ << prefix() << "{\n";
    ++depth;
}

config_outb::~config_outb()
{
    --depth;
    if (stream_ != nullptr)
        *stream_ << prefix() << "}\n";
}

void config_outb::line(char const* name, char const* separator, char const* value)
{
    if (stream_ != nullptr)
        *stream_ << prefix() << name << separator << value << '\n';
}

void config_outb::out(char const* name, char const* value)
{
    line(name, " ", value != nullptr ? value : "");
}

void config_outb::out(char const* name, int value)
{
    out(name, Mw::valuetext::fromLong(value).c_str());
}

void config_outb::out(char const* name, unsigned int value)
{
    out(name, Mw::valuetext::fromLong(value).c_str());
}

void config_outb::out(char const* name, double value)
{
    out(name, Mw::valuetext::withEightDecimals(value).c_str());
}

void config_outb::out(char const* name, bool value)
{
    out(name, BoolAsString(value));
}

void config_outb::out(char const* name, Cookie const& value)
{
    out(name, value.asString(false).c_str());
}

void config_outb::out(char const* name, strp_field const& value)
{
    line(name, ":textdata ", value.c_str());
}
