#include "misc/notify/Notifier.h"

#include "misc/diagnostics/FatalError.h"
#include "misc/notify/Notifiable.h"
#include "platform/Sanitized.h"

#include <gtest/gtest.h>

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

// Writes down what it is told, and lets go of its guard when its notifier dies.
struct Listener
{
    std::vector<std::string> told;
    const Notifier* sender = nullptr;
    Mw::Ptr<Mw::Guard> guard;

    int take(const NotifyMsg& msg)
    {
        told.push_back(std::to_string(msg.type()) + " " + static_cast<const char*>(msg));
        sender = msg.sender();
        if (msg.type() == destroyType)
            guard.reset();
        return 1;
    }
    int count(const NotifyMsg&)
    {
        sender = nullptr;
        return 0;
    }
    Mw::Ptr<iCallbackBase<int, NotifyMsg>> callback()
    {
        return Mw::makePtr<MethodCallback<Listener, NotifyMsg>>(this, &Listener::take);
    }
};

using Told = std::vector<std::string>;

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

TEST(NotifyMsgTypeDictionary, idsAreDenseInTheOrderOfNames)
{
    NotifyMsgTypeDictionary dictionary;
    EXPECT_EQ(dictionary.intern("b"), 2);
    EXPECT_EQ(dictionary.intern("a"), 3);
    EXPECT_EQ(dictionary.intern("b"), 2);
    EXPECT_EQ(dictionary.intern("*"), anyType);
    EXPECT_EQ(dictionary.intern("destroy!"), destroyType);
    EXPECT_EQ(dictionary.msgTypeName(3), "a");
    EXPECT_TRUE(dictionary.msgTypeName(-1).empty() && dictionary.msgTypeName(4).empty());
    EXPECT_EQ(CallbackInvokerBase::anyType(), anyType);
}

TEST(NotifyMsg, copiesShareARepThatTheLastOneDeletes)
{
    const Mw::Ptr<iObject> payload = Mw::makePtr<Mw::Guard>();
    NotifyMsg null;
    NotifyMsg textless(payload);
    {
        NotifyMsg text("text", payload);
        text.setType(7);
        null = text;
        text = textless;
        text = *&text;
        EXPECT_EQ(text.rep(), textless.rep());
    }
    EXPECT_STREQ(null, "text");
    EXPECT_EQ(null.type(), 7);
    EXPECT_STREQ(textless, "");
    EXPECT_EQ(payload.useCount(), 3);
    null = NotifyMsg();
    textless = std::move(null);
    EXPECT_EQ(static_cast<const char*>(textless), nullptr);
    EXPECT_EQ(payload.useCount(), 1);
}

TEST(Notifier, stampsWhatItIssuesAndTellsThoseWhoAskForTheType)
{
    Notifier notifier;
    Listener all, two, three;
    all.guard = notifier.registerNotification(all.callback());
    two.guard = notifier.registerNotification(two.callback(), 2);
    three.guard = notifier.registerNotification(three.callback(), 3);
    const NotifyMsg message("m", {});
    notifier.issueNotification(message, 2);
    EXPECT_EQ(message.type(), 2);
    EXPECT_EQ(message.sender(), &notifier);
    notifier.issueNotification(message, anyType);
    notifier.issueNotification(NotifyMsg("n", {}), 4);
    EXPECT_EQ(all.told, (Told{"2 m", "0 m", "4 n"}));
    EXPECT_EQ(two.told, (Told{"2 m", "0 m"}));
    EXPECT_EQ(three.told, (Told{"0 m"}));
    EXPECT_EQ(three.sender, &notifier);

    EXPECT_FALSE(notifier.registerNotification(nullptr));
    const std::string clients = notifier.clientsText().c_str();
    EXPECT_EQ(clients.find("1 * MethodCallback<(anonymous namespace)::Listener, NotifyMsg, int> at 0x"), 0u) << clients;

    for (int i = 0; i < 2; ++i)
    {
        NotifierBase::deregisterNotification(two.guard);
        EXPECT_FALSE(two.guard);
    }
    notifier.issueNotification(message, 2);
    EXPECT_EQ(two.told.size(), 2u);
    NotifierBase::deregisterNotification(three.guard);
    NotifierBase::deregisterNotification(all.guard);
    EXPECT_FALSE(notifier.hasClients());
}

TEST(Notifier, announcesItsEndUnlessTheProgramCrashes)
{
    Listener told, crashing;
    {
        Notifier dying, silent;
        told.guard = dying.registerNotification(told.callback(), destroyType);
    }
    EXPECT_EQ(told.told, Told{"1 die"});
    EXPECT_FALSE(told.guard);
    {
        NotifyWithDisable dying;
        EXPECT_EQ(dying.getNotify(), &dying);
        crashing.guard = dying.registerNotification(crashing.callback());
        set_crash_flag(1);
        Mw::Ptr<Mw::Guard> guard = std::move(crashing.guard);
    }
    set_crash_flag(0);
    EXPECT_TRUE(crashing.told.empty());
}

TEST(Notifier, issuingAllocatesNothing)
{
    if (MW_SANITIZED)
        GTEST_SKIP() << "the sanitizer counts for itself";
    Notifier notifier;
    Listener listener;
    const auto callback = Mw::makePtr<MethodCallback<Listener, NotifyMsg>>(&listener, &Listener::count);
    std::vector<Mw::Ptr<Mw::Guard>> guards(10);
    long before = allocations;
    for (Mw::Ptr<Mw::Guard>& guard : guards)
        guard = notifier.registerNotification(callback);
    EXPECT_EQ(allocations - before, 20) << "a record and a guard for each";
    const NotifyMsg message("m", {});
    before = allocations;
    notifier.issueNotification(message, 2);
    EXPECT_EQ(allocations, before);
}

TEST(Notifiable, keepsAMessageOnceUntilItDies)
{
    const Mw::Ptr<iObject> payload = Mw::makePtr<Mw::Guard>();
    Notifiable other;
    {
        Notifiable keeper;
        const NotifyMsg message(payload);
        EXPECT_EQ(keeper.notify(message) + keeper.destroy(message) + keeper.bufNotify(message), 0);
        EXPECT_EQ(other.bufNotify(message) + keeper.bufNotify(message) + keeper.bufNotify(NotifyMsg()), 0);
        EXPECT_EQ(message.rep()->list()->size(), 1u);
        keeper.bufNotify(NotifyMsg(payload));
        EXPECT_EQ(payload.useCount(), 3);
    }
    EXPECT_EQ(payload.useCount(), 1);
}
