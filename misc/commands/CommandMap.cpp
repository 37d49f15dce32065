#include "misc/commands/CommandMap.h"

#include "Mw/Assert.h"

#include <algorithm>
#include <memory>

constinit std::atomic<CommandMap*> CommandMap::theCommandMap_{nullptr};

void CommandMapRec::init()
{
    userData_ = nullptr;
    attribs_ = 0;
    defaultMapItem_ = MapItem();
}

void CommandMapRec::commandFunction(Cmd::Function function, void* userData)
{
    commandFunction_ = function;
    userData_ = userData;
}

void CommandMapRec::call(Cmd::Context context) const
{
    if (commandFunction_ == nullptr)
        return;
    context.userData_ = userData_;
    // The record may be gone or elsewhere when the function returns.
    commandFunction_(context);
}

void CommandMapRec::invalidate()
{
    commandFunction_ = nullptr;
    commandName_.clear();
    displayName_.clear();
    displayDescription_.clear();
}

CommandMap* CommandMap::theCommandMap()
{
    CommandMap* map = theCommandMap_.load(std::memory_order_acquire);
    if (map != nullptr) [[likely]]
        return map;
    auto made = std::make_unique<CommandMap>();
    return theCommandMap_.compare_exchange_strong(map, made.get(), std::memory_order_acq_rel) ? made.release() : map;
}

void CommandMap::theCommandMap(CommandMap* map)
{
    CommandMap* const old = theCommandMap_.exchange(map, std::memory_order_acq_rel);
    if (old != map)
        delete old;
}

unsigned CommandMap::registerCommand(char const* name, Cmd::Function fn, void* userData, unsigned attribs,
                                     UIString const& displayName, UIString const& description,
                                     MapItem const& defaultKey)
{
    LightweightString<char> key(name);
    const auto it = map_.lower_bound(key);
    if (it != map_.end() && it->first == key)
    {
        if (records_[it->second].commandFunction() == fn)
            return it->second;
        Mw::assertionFailed("it == map_.end()", "misc/CommandMap line 193");
        return invalidIndex;
    }

    CommandMapRec record;
    record.commandName_ = key;
    record.commandFunction(fn, userData);
    record.displayName_ = displayName.text();
    record.displayDescription_ = description.text();
    record.attribs_ = attribs;
    record.defaultMapItem_ = defaultKey;
    const auto index = static_cast<unsigned>(records_.size());
    records_.push_back(std::move(record));
    map_.emplace_hint(it, std::move(key), index);
    return index;
}

unsigned CommandMap::registerCommand(char const* name, void (*fn)(), UIString const& displayName,
                                     UIString const& description, eCmdScope scope, MapItem const& defaultKey)
{
    const bool isGlobal = scope == eCmdGlobal || (scope == eCmdGlobalIfNamed && !displayName.text().empty());
    return registerCommand(name, contextlessCommandRedirector, reinterpret_cast<void*>(fn),
                           isGlobal ? CommandMapRec::eGlobalScope : 0u, displayName, description, defaultKey);
}

bool CommandMap::deregisterCommand(unsigned index)
{
    CommandMapRec* const record = getCommand(index);
    if (record == nullptr)
        return false;
    // A record that is out of use has the empty name, which may be another command's.
    if (const auto it = map_.find(record->commandName()); it != map_.end() && it->second == index)
        map_.erase(it);
    record->invalidate();
    return true;
}

unsigned CommandMap::findCommand(char const* name) const
{
    const auto it = map_.find(name != nullptr ? name : "");
    return it != map_.end() ? it->second : invalidIndex;
}

unsigned CommandMap::findCommandByDisplayName(LightweightString<wchar_t> const& displayName) const
{
    const auto hasName = [&](CommandMapRec const& record)
    { return Mw::CText::compareNoCase(record.displayName().c_str(), displayName.c_str()) == 0; };
    const auto found = std::find_if(records_.begin(), records_.end(), hasName);
    return found != records_.end() ? static_cast<unsigned>(found - records_.begin()) : invalidIndex;
}

CommandMapRec* CommandMap::getCommand(unsigned index) const
{
    return index < records_.size() ? &records_[index] : nullptr;
}

void CommandMap::callCommand(unsigned index, Cmd::Context const& context) const
{
    if (CommandMapRec const* const record = getCommand(index))
        record->call(context);
}

void CommandMap::callCommand(char const* name, Cmd::Context const& context) const
{
    callCommand(findCommand(name), context);
}

void CommandMap::contextlessCommandRedirector(Cmd::Context const& context)
{
    MW_ASSERT_AT(context.callerContext_ == NULL, "misc/CommandMap line 155");
    reinterpret_cast<void (*)()>(context.userData_)();
}
