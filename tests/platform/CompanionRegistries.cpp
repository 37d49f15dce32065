#include "libmw/NamedObjects.h"
#include "libmw/Shutdown.h"
#include "libmw/Splat.h"

#include <algorithm>
#include <array>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>

namespace
{

const bool wasExitingAtStart = Shutdown::isExiting();

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
    EXPECT_FALSE(wasExitingAtStart);
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

    // One that is removed is let go, however often it was added.
    const auto kept = add(step('k'), 1);
    Shutdown::addCallback(kept, 2);
    Shutdown::removeCallback(kept);
    EXPECT_EQ(kept.useCount(), 1);
    EXPECT_EQ(runAll(), "");
}

TEST(Splat, callbacksGetTheMessageInOrderWhateverOneThrows)
{
    const SplatCallback callbacks[] = {[](const char* message) { trace += message; }, [](const char*) { throw 1; },
                                       [](const char*) { trace += '.'; }};
    trace.clear();
    for (const SplatCallback callback : callbacks)
        EXPECT_TRUE(addSplatCallback(callback));
    callSplatCallbacks("boom");
    for (const SplatCallback callback : callbacks)
        removeSplatCallback(callback);
    callSplatCallbacks("nobody");
    EXPECT_EQ(trace, "boom.");
}

TEST(NamedObjects, typeAndNameHaveOneObject)
{
    auto& names = Mw::NamedObjectsNamespace::getGlobalNamespaceInstance();
    const auto makeInt = []() -> void* { return new int(0); };
    // Threads that race get one object.
    std::array<void*, 4> found;
    {
        std::array<std::jthread, 4> threads;
        for (std::size_t i = 0; i < 4; ++i)
            threads[i] = std::jthread([&, i] { found[i] = names.findOrCreate_(typeid(int), "one", makeInt); });
    }
    void* const object = found[0];
    EXPECT_EQ(std::count(found.begin(), found.end(), object), 4);
    EXPECT_NE(names.findOrCreate_(typeid(int), "two", makeInt), object);
    EXPECT_NE(names.findOrCreate_(typeid(long), "one", []() -> void* { return new long(0); }), object);

    // A maker may look up others; one that fails leaves the name free.
    EXPECT_THROW(names.findOrCreate_(typeid(int), "three", []() -> void* { throw 1; }), int);
    const auto makeNested = []() -> void*
    { return Mw::NamedObjectsNamespace::getGlobalNamespaceInstance().findOrCreate_(typeid(int), "one", nullptr); };
    EXPECT_EQ(names.findOrCreate_(typeid(int), "three", makeNested), object);

    // A type goes with its library, and its name is elsewhere when that is loaded again.
    struct Loaded : std::type_info
    {
        explicit Loaded(const char* name) : std::type_info(name) {}
    };
    const auto makeLoaded = [&]
    {
        const std::string name = "a type of a library that is closed";
        return names.findOrCreate_(*std::make_unique<Loaded>(name.c_str()), "one", makeInt);
    };
    void* const ofLoaded = makeLoaded();
    EXPECT_EQ(makeLoaded(), ofLoaded);
}
