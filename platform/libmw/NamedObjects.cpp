#include "libmw/NamedObjects.h"

#include "OS/Immortal.h"
#include "libmw/CriticalSection.h"

#include <map>
#include <string>
#include <typeindex>
#include <utility>

namespace Mw
{

namespace
{

struct Table
{
    CriticalSection lock{"named objects"};
    std::map<std::pair<std::type_index, std::string>, void*> objects;
};

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
    std::pair<std::type_index, std::string> key(type, name);
    const CriticalSection::Lock lock(table().lock);
    if (const auto found = table().objects.find(key); found != table().objects.end())
        return found->second;
    void* const object = create();
    if (object != nullptr)
        table().objects.emplace(std::move(key), object);
    return object;
}

} // namespace Mw
