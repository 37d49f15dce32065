#pragma once

#include <cstdlib>
#include <map>
#include <optional>
#include <string>

// Environment variables for the time of a scope; those without a value are not set in it.
class Environment
{
public:
    using Values = std::map<std::string, std::optional<std::string>>;

    explicit Environment(const Values& values)
    {
        for (const auto& [name, value] : values)
            if (const char* const before = std::getenv(name.c_str()))
                before_[name] = before;
            else
                before_[name] = std::nullopt;
        set(values);
    }
    ~Environment() { set(before_); }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

private:
    static void set(const Values& values)
    {
        for (const auto& [name, value] : values)
            if (value)
                ::setenv(name.c_str(), value->c_str(), 1);
            else
                ::unsetenv(name.c_str());
    }

    Values before_;
};
