#include "OS/linux/StackTrace.h"

#include <backtrace.h>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cxxabi.h>
#include <dlfcn.h>
#include <memory>
#include <string>

namespace
{

struct FreeDeleter
{
    void operator()(char* block) const { std::free(block); }
};

// Missing symbols are no failure: the frame shows its address.
void ignoreError(void*, const char*, int) {}

// Made once, kept for good, and safe for any number of threads at a time.
backtrace_state* state()
{
    static backtrace_state* const state = ::backtrace_create_state(nullptr, 1, ignoreError, nullptr);
    return state;
}

std::string demangled(const char* symbol)
{
    int status = 0;
    const std::unique_ptr<char, FreeDeleter> text(abi::__cxa_demangle(symbol, nullptr, nullptr, &status));
    return text != nullptr ? text.get() : symbol;
}

void keepSymbol(void* data, std::uintptr_t, const char* symbol, std::uintptr_t, std::uintptr_t)
{
    if (symbol != nullptr)
        *static_cast<std::string*>(data) = demangled(symbol);
}

// The exported or local symbol that an address lies in, where line tables don't name its function.
std::string symbolAt(std::uintptr_t address)
{
    std::string name;
    ::backtrace_syminfo(state(), address, keepSymbol, ignoreError, &name);
    return name;
}

// "0x7f12… (libc.so.6+0x2724a)"
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

int appendFrame(void* data, std::uintptr_t address, const char* file, int line, const char* function)
{
    // The last frame of a thread has no caller.
    if (address == UINTPTR_MAX || address == 0)
        return 0;
    std::string text = function != nullptr ? demangled(function) : symbolAt(address);
    if (text.empty())
        text = addressText(address);
    else if (file == nullptr)
        text += " " + addressText(address);
    if (file != nullptr)
        text += std::string(" ") + file + ":" + std::to_string(line);
    static_cast<Mw::StackTrace*>(data)->push_back(LightweightString<char>(std::string_view(text)));
    return 0;
}

} // namespace

__attribute__((noinline)) void appendStackTrace(Mw::StackTrace& lines, int skippedFrames)
{
    ::backtrace_full(state(), skippedFrames, appendFrame, ignoreError, &lines);
}
