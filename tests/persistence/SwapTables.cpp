#include "SwapTables.h"

#include "StoredObjects.h"

namespace swaptables
{

const StreamClassRegistrar shots = StreamClassRegistrar::of<Shot>();
const StreamClassRegistrar cuts = StreamClassRegistrar::of<Cut>();

} // namespace swaptables
