#pragma once

#include "OS/ReaderLock.h"
#include "misc/notify/ValServer.h"

// A value server for a text that any thread may write, and read by text(). The text changes under the notifier's
// lock, so no event holds half of one, and a write waits for the calls of clients on other threads; who reads by
// text() waits for no call. Of two threads that write at once the last to tell tells the last text. A client reads
// what it follows during its call.
class MISC_API TextValServer : public ValServer<LightweightString<wchar_t>>
{
public:
    using Text = LightweightString<wchar_t>;
    using ValServer<Text>::operator=;

    // The manager is asked outside of all locks. The clients may end the server.
    bool updateAndNotify(const Text& newValue) override;

    Text text() const;

private:
    mutable ReaderLock readers_; // taken last, to copy or exchange the text
};
