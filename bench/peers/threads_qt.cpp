// QThreadStorage with a counted handle in it.

#include "bench/harness/Keep.h"
#include "bench/threads.h"

#include <QSharedData>
#include <QThreadStorage>

namespace
{

using namespace bench;

using Object = QExplicitlySharedDataPointer<QSharedData>;

Object& local()
{
    static auto& storage = *new QThreadStorage<Object>;
    Object& object = storage.localData();
    if (!object)
        object.reset(new QSharedData);
    return object;
}

const Registration registration(
    [](Registry& registry)
    {
        threads::addObject(registry, Role::peer, "QThreadStorage",
                           []
                           {
                               const Object object = local();
                               keepNumber(object.constData());
                           });
        threads::addObject(registry, Role::peer, "QThreadStorage, no handle", [] { keepNumber(local().constData()); });
    });

} // namespace
