#pragma once

#include "OS/Settings.h"

#include <atomic>
#include <memory>

class SettingsValues;

// A settings store in memory, whose writes a test can make fail. Any thread.
class OS_API MemorySettings : public iSettings
{
public:
    MemorySettings();
    ~MemorySettings() override;

    // What writes give from now on; unless it is eStored or eKeptInMemory, they change nothing.
    void failWith(eResult result) { result_ = result; }

    void getMultipleValues(std::vector<NameValuePair>& result, const LightweightString<char>& section) override;
    bool findValue(std::string_view key, std::string_view section, LightweightString<char>& value) override;
    int apply(const std::vector<Change>& changes) override;
    void getSections(std::vector<LightweightString<char>>& result) override;
    LightweightString<char> lastError() override;

private:
    const std::unique_ptr<SettingsValues> values_;
    std::atomic<eResult> result_{eStored};
};
