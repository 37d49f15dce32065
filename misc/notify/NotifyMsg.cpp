#include "misc/notify/NotifyMsg.h"

NotifyMsg::NotifyMsg(const Mw::Ptr<iObject>& object) : NotifyMsg(LightweightString<char>(), object) {}

NotifyMsg::NotifyMsg(const LightweightString<char>& text, const Mw::Ptr<iObject>& object)
    : rep_(new NotifyMsgRep(text, object))
{
}
