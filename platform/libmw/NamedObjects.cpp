#include "libmw/NamedObjects.h"

#include "OS/Immortal.h"
#include "libmw/CriticalSection.h"

#include <cstdint>
#include <map>
#include <string>
#include <utility>

namespace Mw
{

namespace
{

using Key = std::pair<std::string, std::string>; // type and name

struct Table
{
    CriticalSection lock{"named objects"};
    std::map<Key, void*> objects;
};

// By the text of its name, since the type goes with the library that made the object. Types of unnamed namespaces
// may share theirs, each module has its own.
std::string textOf(const std::type_info& type)
{
    std::string text = type.name();
    if (text.find("_GLOBAL__N_") != std::string::npos)
        text += " " + std::to_string(reinterpret_cast<std::uintptr_t>(&type));
    return text;
}

Table& table()
{
    return immortal<Table>();
}

} // namespace

NamedObjectsNamespace& NamedObjectsNamespace::getGlobalNamespaceInstance()
{
    static NamedObjectsNamespace instance;
    return instance;
}

void* NamedObjectsNamespace::findOrCreate_(const std::type_info& type, const char* name, void* (*create)())
{
    Key key(textOf(type), name);
    const CriticalSection::Lock lock(table().lock);
    if (const auto found = table().objects.find(key); found != table().objects.end())
        return found->second;
    void* const object = create();
    if (object != nullptr)
        table().objects.emplace(std::move(key), object);
    return object;
}

} // namespace Mw
