#include "libmw/TypeName.h"

#include <cstdlib>
#include <cxxabi.h>
#include <memory>

LightweightString<char> typeName(const std::type_info& type)
{
    struct Free
    {
        void operator()(char* text) const noexcept { std::free(text); }
    };
    int status = 0;
    const std::unique_ptr<char, Free> name(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status));
    return name != nullptr ? name.get() : type.name();
}
