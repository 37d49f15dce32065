#include "misc/notify/Notifier.h"

#include "misc/diagnostics/FatalError.h"
#include "misc/notify/CallbackChain.h"
#include "misc/notify/Notifiable.h"
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
    NotifyMsg textless(payload);
    {
        NotifyMsg text("text", payload);
        text.setType(7);
        kept = text;
        text = textless;
        text = *&text;
    }
    EXPECT_STREQ(kept, "text");
    EXPECT_EQ(kept.type(), 7);
    EXPECT_STREQ(textless, "");
    EXPECT_EQ(payload.useCount(), 3);
    kept = NotifyMsg();
    textless = std::move(kept);
    EXPECT_EQ(static_cast<const char*>(textless), nullptr);
    EXPECT_EQ(payload.useCount(), 1);
}

TEST(Notifier, stampsAndTellsThoseWhoAskForTheTypeUntilItsEnd)
{
    Listener all, two;
    const NotifyMsg message("m", {});
    {
        NotifyWithDisable notifier;
        all.guard = notifier.registerNotification(all.callback());
        two.guard = notifier.registerNotification(two.callback(), 2);
        for (const int type : {2, anyType, 3})
            notifier.getNotify()->issueNotification(message, type);
        EXPECT_EQ(message.type(), 3);
        EXPECT_EQ(message.sender(), &notifier);
        EXPECT_EQ(two.told, (Told{"2 m", "0 m"}));

        const std::string clients = notifier.clientsText().c_str();
        EXPECT_EQ(clients.find("1 * BoundCallback<&(anonymous namespace)::Listener::take"), 0u) << clients;
        EXPECT_EQ(std::count(clients.begin(), clients.end(), '\n'), 2);
        for (int i = 0; i < 2; ++i)
            NotifierBase::deregisterNotification(two.guard);
        EXPECT_FALSE(two.guard);
    }
    EXPECT_EQ(all.told, (Told{"2 m", "0 m", "3 m", "1 die"}));
    EXPECT_FALSE(all.guard);
    EXPECT_EQ(two.told.size(), 2u);

    // In a crash it says nothing, so that its guards stay: they are never released.
    static Mw::Ptr<Mw::Guard>* const lost = new Mw::Ptr<Mw::Guard>;
    {
        Notifier notifier;
        *lost = notifier.registerNotification(two.callback());
        set_crash_flag(1);
    }
    set_crash_flag(0);
    EXPECT_EQ(two.told.size(), 2u);
}

TEST(CallbackChain, callsBothThoughTheFirstEndsIt)
{
    Notifier notifier;
    Listener leaving, behind;
    leaving.guard =
        notifier.registerNotification(Mw::makePtr<CallbackChain>(leaving.callback(), behind.callback()), anyType);
    notifier.issueNotification(NotifyMsg("m", {}), destroyType);
    EXPECT_FALSE(notifier.hasClients());
    EXPECT_EQ(leaving.told, Told{"1 m"});
    EXPECT_EQ(behind.told, Told{"1 m"});
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

TEST(Notifiable, keepsAMessageOnceUntilItDies)
{
    const Mw::Ptr<iObject> payload = Mw::makePtr<Mw::Guard>();
    const NotifyMsg message(payload);
    Notifiable other;
    {
        Notifiable keeper;
        for (const NotifyMsg& each : {message, NotifyMsg(), NotifyMsg(payload), message})
            EXPECT_EQ(keeper.bufNotify(each), 0);
        other.bufNotify(message);
        EXPECT_EQ(payload.useCount(), 3);
    }
    EXPECT_EQ(payload.useCount(), 2);
}
