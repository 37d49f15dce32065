#pragma once

#include "OS/Export.h"

#include <typeinfo>

namespace Mw
{

// The process-wide table of objects by type and name: how a singleton of a template is one object,
// although each library that instantiates the template holds a copy of its code. Objects are never
// destroyed. Any thread.
class LIBMW_API NamedObjectsNamespace
{
public:
    static NamedObjectsNamespace& getGlobalNamespaceInstance();

    // The object of this type and name; `create` makes it if it is new. The lock is held meanwhile, so
    // two threads get one object, and `create` may look up others. What it throws is passed on, and a null
    // result is not kept.
    void* findOrCreate_(const std::type_info& type, const char* name, void* (*create)());

    NamedObjectsNamespace(const NamedObjectsNamespace&) = delete;
    NamedObjectsNamespace& operator=(const NamedObjectsNamespace&) = delete;

private:
    NamedObjectsNamespace() = default;
};

} // namespace Mw
