#include "OS/Desktop.h"

#include "OS/OS.h"

#include <atomic>
#include <memory>
#include <mutex>

namespace
{

std::atomic<unsigned> theLastSerial{0};

// Keeps what each desktop service gave to the end, since a reader may be inside it when the next one is
// asked: there is one service, and one more for each test that replaces it.
class CurrentSettings : public iSettings
{
public:
    CurrentSettings(const LightweightString<wchar_t>& fileName, iDesktop::eSettingsOwner owner)
        : fileName_(fileName), owner_(owner)
    {
    }

    void getMultipleValues(std::vector<NameValuePair>& result, const LightweightString<char>& section) override
    {
        store().getMultipleValues(result, section);
    }
    bool findValue(std::string_view key, std::string_view section, LightweightString<char>& value) override
    {
        return store().findValue(key, section, value);
    }
    bool readValue(std::string_view key, std::string_view section, Reader& reader) override
    {
        return store().readValue(key, section, reader);
    }
    int apply(const std::vector<Change>& changes) override { return store().apply(changes); }
    void getSections(std::vector<LightweightString<char>>& result) override { store().getSections(result); }
    LightweightString<char> lastError() override { return store().lastError(); }

private:
    struct Given
    {
        unsigned serial;
        Mw::Ptr<iSettings> store;
    };

    iSettings& store()
    {
        iDesktop& desktop = OS().desktop();
        const Given* const given = current_.load(std::memory_order_acquire);
        if (given != nullptr && given->serial == desktop.serial()) [[likely]]
            return *given->store;
        return ask(desktop);
    }

    iSettings& ask(iDesktop& desktop)
    {
        const std::lock_guard lock(mutex_);
        for (const auto& given : all_)
            if (given->serial == desktop.serial())
                return use(*given);
        all_.push_back(std::make_unique<Given>(Given{desktop.serial(), desktop.openSettings(fileName_, owner_)}));
        return use(*all_.back());
    }

    iSettings& use(const Given& given)
    {
        current_.store(&given, std::memory_order_release);
        return *given.store;
    }

    const LightweightString<wchar_t> fileName_;
    const iDesktop::eSettingsOwner owner_;
    std::atomic<const Given*> current_{nullptr};
    std::mutex mutex_;
    std::vector<std::unique_ptr<const Given>> all_;
};

} // namespace

iDesktop::iDesktop() noexcept : serial_(++theLastSerial) {}
iDesktop::~iDesktop() = default;

Mw::Ptr<iSettings> Mw::currentSettings(const LightweightString<wchar_t>& fileName, iDesktop::eSettingsOwner owner)
{
    return Ptr<iSettings>(new CurrentSettings(fileName, owner));
}
