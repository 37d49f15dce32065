#include "OS/linux/StackTrace.h"

#include <algorithm>
#include <backtrace.h>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cxxabi.h>
#include <dlfcn.h>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace
{

struct FreeDeleter
{
    void operator()(char* block) const { std::free(block); }
};

// Missing symbols are no failure: the frame shows its address.
void ignoreError(void*, const char*, int) {}

// One trace is taken at a time: what the thread sanitizer can't see inside the library, it sees here.
constinit std::mutex theLock;

// Made once and kept for good. The caller holds the lock.
backtrace_state* state()
{
    static backtrace_state* const state = ::backtrace_create_state(nullptr, 0, ignoreError, nullptr);
    return state;
}

std::string demangled(const char* symbol)
{
    int status = 0;
    const std::unique_ptr<char, FreeDeleter> text(abi::__cxa_demangle(symbol, nullptr, nullptr, &status));
    return text != nullptr ? text.get() : symbol;
}

bool isMangled(const std::string& name)
{
    return name.starts_with("_Z");
}

void keepSymbol(void* data, std::uintptr_t, const char* symbol, std::uintptr_t, std::uintptr_t)
{
    if (symbol != nullptr)
        *static_cast<std::string*>(data) = symbol;
}

// The symbol that an address lies in, as the linker knows it; empty if there is none.
std::string symbolAt(std::uintptr_t address)
{
    std::string symbol;
    ::backtrace_syminfo(state(), address, keepSymbol, ignoreError, &symbol);
    Dl_info module;
    // A library that was loaded after the first trace is known to the loader alone.
    if (symbol.empty() && ::dladdr(reinterpret_cast<void*>(address), &module) != 0 && module.dli_sname != nullptr)
        symbol = module.dli_sname;
    return symbol;
}

// Such as "0x7f120002724a (libc.so.6+0x2724a)".
std::string addressText(std::uintptr_t address)
{
    char text[32];
    std::snprintf(text, sizeof text, "0x%" PRIxPTR, address);
    std::string line = text;
    Dl_info module;
    if (::dladdr(reinterpret_cast<void*>(address), &module) != 0 && module.dli_fname != nullptr)
    {
        const std::string path = module.dli_fname;
        const auto base = reinterpret_cast<std::uintptr_t>(module.dli_fbase);
        std::snprintf(text, sizeof text, "+0x%" PRIxPTR, address - base);
        line += " (" + path.substr(path.rfind('/') + 1) + text + ")";
    }
    return line;
}

// One function at an address. Those that were inlined into another come before it.
struct Place
{
    std::string function;
    std::string fileAndLine;
};

int keepPlace(void* data, std::uintptr_t, const char* file, int line, const char* function)
{
    Place place;
    if (function != nullptr)
        place.function = function;
    if (file != nullptr)
        place.fileAndLine = std::string(file) + ":" + std::to_string(line);
    static_cast<std::vector<Place>*>(data)->push_back(place);
    return 0;
}

int keepAddress(void* data, std::uintptr_t address)
{
    static_cast<std::vector<std::uintptr_t>*>(data)->push_back(address);
    return 0;
}

std::string textOf(const Place& place, std::uintptr_t address)
{
    const std::string where = place.fileAndLine.empty() ? addressText(address) : place.fileAndLine;
    return place.function.empty() ? where : demangled(place.function.c_str()) + " at " + where;
}

void appendFrame(Mw::StackTrace& lines, std::uintptr_t address)
{
    std::vector<Place> places;
    ::backtrace_pcinfo(state(), address, keepPlace, ignoreError, &places);
    if (places.empty())
        places.emplace_back();
    // Short line tables may hold a function's bare name; the linker's has its class and arguments.
    std::string& function = places.back().function;
    if (!isMangled(function))
        if (std::string symbol = symbolAt(address); function.empty() || isMangled(symbol))
            function = std::move(symbol);
    for (const Place& place : places)
        lines.push_back(LightweightString<char>(std::string_view(textOf(place, address))));
}

} // namespace

void appendStackTrace(Mw::StackTrace& lines, const void* returnAddress)
{
    const std::lock_guard lock(theLock);
    std::vector<std::uintptr_t> addresses;
    ::backtrace_simple(state(), 0, keepAddress, ignoreError, &addresses);
    // An unwound address is that of the call, one byte before where it goes on.
    auto first = std::find(addresses.begin(), addresses.end(), reinterpret_cast<std::uintptr_t>(returnAddress) - 1);
    if (first == addresses.end())
        first = addresses.begin();
    // The outermost frame of a thread has no caller, which shows as an address of -1.
    std::for_each(first, std::find(first, addresses.end(), UINTPTR_MAX),
                  [&](std::uintptr_t address) { appendFrame(lines, address); });
}
