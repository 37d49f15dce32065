// QThreadStorage with a counted handle in it.

#include "bench/harness/Keep.h"
#include "bench/threads.h"

#include <QSharedData>
#include <QThreadStorage>

namespace
{

using namespace bench;

using Object = QExplicitlySharedDataPointer<QSharedData>;

auto& storage = *new QThreadStorage<Object>;

void makeObject()
{
    storage.setLocalData(Object(new QSharedData));
}

const Registration registration(
    [](Registry& registry)
    {
        threads::addObject(registry, Role::peer, "QThreadStorage", makeObject,
                           []
                           {
                               const Object object = storage.localData();
                               keepNumber(object.constData());
                           });
        threads::addObject(registry, Role::peer, "QThreadStorage, no handle", makeObject,
                           [] { keepNumber(storage.localData().constData()); });
    });

} // namespace
