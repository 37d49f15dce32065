#pragma once

#include "OS/ReaderLock.h"
#include "libmw/CriticalSection.h"
#include "misc/notify/ValServer.h"

// A value server for a text that any thread may write, and read by text(). Writers wait for each other, the calls
// of the clients included; who reads by text() waits for no call. A client reads what it follows during its call.
class MISC_API TextValServer : public ValServer<LightweightString<wchar_t>>
{
public:
    using Text = LightweightString<wchar_t>;
    using ValServer<Text>::operator=;

    bool updateAndNotify(const Text& newValue) override;

    Text text() const;

private:
    CriticalSection writing_{"text value"}; // recursive: clients may write
    mutable ReaderLock lock_;
};
