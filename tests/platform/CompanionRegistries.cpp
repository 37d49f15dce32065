#include "libmw/NamedObjects.h"
#include "libmw/Shutdown.h"
#include "platform/ThreadSupport.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <string>

namespace
{

std::string trace;

struct Step : Shutdown::Callback
{
    explicit Step(std::function<void()> action) : action_(std::move(action)) {}
    void execute(const Shutdown::eExitType&) override { action_(); }
    std::function<void()> action_;
};

// Adds its name to the trace, and then fails so many times.
std::function<void()> step(char name, int failures = 0)
{
    return [=]() mutable
    {
        trace += name;
        if (failures-- > 0)
            throw '!';
    };
}

Mw::Ptr<Shutdown::Callback> add(std::function<void()> action, unsigned priority)
{
    Mw::Ptr<Shutdown::Callback> callback = Mw::makePtr<Step>(std::move(action));
    Shutdown::addCallback(callback, priority);
    return callback;
}

// Repeats as a stopping program does. The list is empty afterwards, so each case begins afresh.
std::string runAll()
{
    trace.clear();
    for (bool done = false; !done;)
        try
        {
            Shutdown::executeCallbacks(Shutdown::eExceptionExit);
            done = true;
        }
        catch (char mark)
        {
            trace += mark;
        }
    return trace;
}

} // namespace

TEST(Shutdown, callbacksRunOnceByPriorityThenArrivalAndWhatThrowsGoesBehind)
{
    add(step('c'), 700);
    add(step('a', 2), 451);
    Shutdown::addCallback([](Shutdown::eExitType type)
                          { trace += type == Shutdown::eExceptionExit && Shutdown::isExiting() ? 'd' : '?'; },
                          700);
    add(step('b', 1), 451);
    EXPECT_EQ(runAll(), "a!b!cda!ba");
    EXPECT_EQ(runAll(), "");
}

TEST(Shutdown, callbacksMayAddAndRemoveWhileTheyRun)
{
    Mw::Ptr<Shutdown::Callback> leaver;
    const auto leave = [&]
    {
        Shutdown::removeCallback(std::exchange(leaver, {}));
        add(step('n'), 0);
        step('l', 1)();
    };
    leaver = add(leave, 1);
    add(step('a'), 2);
    EXPECT_EQ(runAll(), "l!na");
}

TEST(NamedObjects, typeAndNameHaveOneObject)
{
    auto& names = Mw::NamedObjectsNamespace::getGlobalNamespaceInstance();
    const auto makeInt = []() -> void* { return new int(0); };
    // Threads that race get one object.
    void* found[4];
    {
        test::Crowd crowd(4, [&](int i) { found[i] = names.findOrCreate_(typeid(int), "one", makeInt); });
    }
    EXPECT_EQ(std::count(found, found + 4, found[0]), 4);
    EXPECT_NE(names.findOrCreate_(typeid(int), "two", makeInt), found[0]);
    EXPECT_NE(names.findOrCreate_(typeid(long), "one", []() -> void* { return new long(0); }), found[0]);

    // A maker may look up others; one that fails leaves the name free.
    EXPECT_THROW(names.findOrCreate_(typeid(int), "three", []() -> void* { throw 1; }), int);
    const auto makeNested = []() -> void*
    { return Mw::NamedObjectsNamespace::getGlobalNamespaceInstance().findOrCreate_(typeid(int), "one", nullptr); };
    EXPECT_EQ(names.findOrCreate_(typeid(int), "three", makeNested), found[0]);
}
