#include "misc/notify/Notifier.h"

#include "misc/notify/CallbackChain.h"
#include "misc/notify/ValClient.h"
#include "platform/Sanitized.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

namespace
{

std::atomic<long> allocations{0};

constexpr int anyType = NotifyMsgTypeDictionary::anyType;
constexpr int destroyType = NotifyMsgTypeDictionary::destroyType;

using Told = std::vector<std::string>;

// Writes down what it is told, and lets go of its guard when its notifier dies.
struct Listener
{
    Told told;
    Mw::Ptr<Mw::Guard> guard;

    int take(const NotifyMsg& msg)
    {
        told.push_back(std::to_string(msg.type()) + " " + static_cast<const char*>(msg));
        if (msg.type() == destroyType)
            guard.reset();
        return 1;
    }
    int ignore(const NotifyMsg&) { return 0; }
    Mw::Ptr<iCallbackBase<int, NotifyMsg>> callback() { return Mw::makePtr<BoundCallback<&Listener::take>>(this); }
};

} // namespace

#if !MW_SANITIZED
void* operator new(std::size_t size)
{
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* const block = std::malloc(size))
        return block;
    throw std::bad_alloc();
}
void operator delete(void* block) noexcept
{
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}
#endif

TEST(NotifyMsg, copiesShareARepThatTheLastOneDeletes)
{
    const Mw::Ptr<iObject> payload = Mw::makePtr<Mw::Guard>();
    NotifyMsg kept;
    {
        NotifyMsg text("text", payload);
        text.setType(7);
        kept = text;
        text = NotifyMsg(payload);
        text = *&text;
        EXPECT_STREQ(text, "");
    }
    EXPECT_STREQ(kept, "text");
    EXPECT_EQ(kept.type(), 7);
    EXPECT_EQ(payload.useCount(), 2);
}

TEST(Notifier, stampsAndTellsThoseWhoAskForTheTypeUntilItsEnd)
{
    Listener all, behind, two;
    const NotifyMsg message("m", {});
    {
        NotifyWithDisable notifier;
        // The first callback of the chain ends it in the end.
        all.guard = notifier.registerNotification(Mw::makePtr<CallbackChain>(all.callback(), behind.callback()));
        two.guard = notifier.registerNotification(two.callback(), 2);
        for (const int type : {2, anyType, 3})
            notifier.getNotify()->issueNotification(message, type);
        EXPECT_EQ(message.type(), 3);
        EXPECT_EQ(message.sender(), &notifier);

        const std::string clients = notifier.clientsText().c_str();
        EXPECT_EQ(clients.find("1 * CallbackChain at "), 0u) << clients;
        EXPECT_EQ(std::count(clients.begin(), clients.end(), '\n'), 2);
        NotifierBase::deregisterNotification(two.guard);
        NotifierBase::deregisterNotification(two.guard);
    }
    EXPECT_EQ(all.told, (Told{"2 m", "0 m", "3 m", "1 die"}));
    EXPECT_EQ(behind.told, all.told);
    EXPECT_EQ(two.told, (Told{"2 m", "0 m"}));
}

TEST(Notifier, issuingAllocatesNothing)
{
    if (MW_SANITIZED)
        GTEST_SKIP() << "the sanitizer counts for itself";
    struct Deaf : ValClient<LightweightString<wchar_t>>
    {
        void valChangedNtfy() override {}
    } ofText;
    Notifier notifier;
    Listener listener;
    const auto callback = Mw::makePtr<BoundCallback<&Listener::ignore>>(&listener);
    std::vector<Mw::Ptr<Mw::Guard>> guards(10);
    const NotifyMsg message("m", {});
    const LightweightString<wchar_t> written = L"a text that needs a block";
    ValServer<LightweightString<wchar_t>> text;
    ofText.registerWith(&text);

    const long before = allocations;
    for (Mw::Ptr<Mw::Guard>& guard : guards)
        guard = notifier.registerNotification(callback);
    EXPECT_EQ(allocations - before, 20) << "a record and a guard for each";
    notifier.issueNotification(message, 2);
    text = written;
    text.preNotifyValChanged();
    text.issueNotification({.value = written}, 2);
    EXPECT_EQ(allocations - before, 20);
}
