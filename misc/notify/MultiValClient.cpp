#include "misc/notify/MultiValClient.h"

const char detail::startBatchText[] = "StartBatch";
const char detail::endBatchText[] = "EndBatch";

ValClientBase::ValClientBase() : receivers(true) {}

ValClientBase::~ValClientBase() = default;

ValServerBase* ValClientBase::getValServer(int index) const
{
    const DLListRec* record = index >= 0 ? receivers.head() : nullptr;
    for (; record != nullptr && index != 0; --index)
        record = receivers.next(record);
    return record != nullptr ? static_cast<const ValClientReceiverBase*>(record)->server : nullptr;
}

ValClientReceiverBase* ValClientBase::findReceiver(ValServerBase* server) const
{
    for (DLListRec* record = receivers.head(); record != nullptr; record = receivers.next(record))
        if (auto* const receiver = static_cast<ValClientReceiverBase*>(record); receiver->server == server)
            return receiver;
    return nullptr;
}

bool ValClientBase::deregisterFrom(ValServerBase* server)
{
    ValClientReceiverBase* const receiver = findReceiver(server);
    if (receiver == nullptr)
        return false;
    receivers.remove(receiver);
    return true;
}

template class ValClientReceiver<bool>;
template class ValClientReceiver<int>;
template class ValClientReceiver<unsigned>;
template class ValClientReceiver<double>;
template class ValClientReceiver<LightweightString<char>>;
template class MultiValClient<bool>;
template class MultiValClient<int>;
template class MultiValClient<unsigned>;
template class MultiValClient<double>;
template class MultiValClient<LightweightString<char>>;
