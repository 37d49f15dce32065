#pragma once

#include <cstdlib>
#include <map>
#include <optional>
#include <string>
#include <utility>

// Environment variables for the time of a scope; those without a value are not set in it.
class Environment
{
public:
    using Values = std::map<std::string, std::optional<std::string>>;

    explicit Environment(Values values) : values_(std::move(values)) { exchange(); }
    ~Environment() { exchange(); }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

private:
    // Puts the values in place, and takes those that were there.
    void exchange()
    {
        for (auto& [name, value] : values_)
        {
            const char* const found = std::getenv(name.c_str());
            const auto before = found != nullptr ? std::optional<std::string>(found) : std::nullopt;
            value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str());
            value = before;
        }
    }

    Values values_;
};
