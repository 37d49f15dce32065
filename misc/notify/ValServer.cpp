#include "misc/notify/ValServer.h"

#include <utility>

namespace
{

constinit thread_local LastValServer* lastValServer = nullptr;

} // namespace

const int ValServerBase::valChangedMsgType_ = NotifyMsgTypeDictionary::instance().intern("ValChange");
const int ValServerBase::preValChangedMsgType_ = NotifyMsgTypeDictionary::instance().intern("PreValChange");

LastValServer::LastValServer() noexcept
{
    lastValServer = this;
}

LastValServer* LastValServer::getLastValServer() noexcept
{
    return std::exchange(lastValServer, nullptr);
}

template class ValServer<int>;
template class ValServer<LightweightString<wchar_t>>;
template class ValServer<Cookie>;
