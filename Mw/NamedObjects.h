#pragma once

#include "OS/OS.h"
#include "libmw/NamedObjects.h"

#include <typeinfo>

// Singletons of templates that are one object for the process, although each library that instantiates
// the template has a copy of its code and of its static variables.

namespace Mw
{

namespace TypeManip
{

// Makes an X where only a function that gives a void* can be handed on.
template <class X>
struct TemplatedNew
{
    static void* new_() { return new X; }
};

} // namespace TypeManip

namespace NamedObjects
{

// Points `holder` to the process's X of this name, which is made if it is new and never destroyed. `holder`
// only remembers it for its library: read it with OS().atomics().loadPointer and call this where it is
// null. Any thread, several at once for one holder too.
template <class X>
void findOrCreate(X*& holder, const char* typeName)
{
    void* const object = NamedObjectsNamespace::getGlobalNamespaceInstance().findOrCreate_(
        typeid(X), typeName, &TypeManip::TemplatedNew<X>::new_);
    OS().atomics().storePointer(&holder, static_cast<X*>(object));
}

} // namespace NamedObjects

} // namespace Mw
