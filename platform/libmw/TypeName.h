#pragma once

#include "Mw/LightweightString.h"
#include "OS/Export.h"

#include <typeinfo>

// The name of a type as it stands in the source, for messages. Any thread.
LIBMW_API LightweightString<char> typeName(const std::type_info& type);
