#include "libmw/NamedObjects.h"
#include "libmw/Shutdown.h"
#include "libmw/Splat.h"

#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace
{

std::string trace;

struct Step : Shutdown::Callback
{
    Step(char name, int failures = 0) : name_(name), failures_(failures) {}
    void execute(const Shutdown::eExitType&) override
    {
        trace += name_;
        if (failures_-- > 0)
            throw std::runtime_error("step");
    }

    char name_;
    int failures_;
};

void add(char name, unsigned priority, int failures = 0)
{
    Shutdown::addCallback(Mw::makePtr<Step>(name, failures), priority);
}

// Repeats as a stopping program does. The list is empty afterwards, so each case begins afresh.
std::string runAll(int attempts = 9)
{
    trace.clear();
    while (attempts-- > 0)
    {
        try
        {
            Shutdown::executeCallbacks(Shutdown::eExceptionExit);
            break;
        }
        catch (const std::runtime_error&)
        {
            trace += '!';
        }
    }
    return trace;
}

} // namespace

TEST(Shutdown, callbacksRunOnceByPriorityThenArrival)
{
    add('c', 700);
    add('a', 451);
    Shutdown::addCallback([](Shutdown::eExitType type) { trace += type == Shutdown::eExceptionExit ? 'd' : '?'; }, 700);
    add('b', 451);
    EXPECT_EQ(runAll(), "abcd");
    EXPECT_EQ(runAll(), "");
    EXPECT_TRUE(Shutdown::isExiting());
}

TEST(ShutdownDeath, isExitingFromTheFirstExecutionOn)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a process of its own, whatever ran here before
    EXPECT_EXIT(
        {
            const bool before = Shutdown::isExiting();
            Shutdown::addCallback([](Shutdown::eExitType) { trace = Shutdown::isExiting() ? "in" : "?"; }, 1);
            Shutdown::executeCallbacks(Shutdown::eExceptionExit);
            std::exit(!before && trace == "in" ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Shutdown, callbackThatThrowsGoesBehindTheOthersAndIsTriedAgain)
{
    add('a', 1, 2);
    add('b', 2, 1);
    add('c', 3);
    EXPECT_EQ(runAll(), "a!b!ca!ba");
}

TEST(Shutdown, callbacksMayAddAndRemoveWhileTheyRun)
{
    struct Leaver : Step
    {
        using Step::Step;
        void execute(const Shutdown::eExitType& type) override
        {
            Shutdown::removeCallback(self);
            self.reset();
            add('n', 0);
            Step::execute(type);
        }
        Mw::Ptr<Shutdown::Callback> self;
    };
    const auto leaver = Mw::makePtr<Leaver>('l', 1);
    leaver->self = leaver;
    Shutdown::addCallback(leaver, 1);
    add('a', 2);
    EXPECT_EQ(runAll(), "l!na");

    // One that is removed is let go, however often it was added.
    const auto kept = Mw::makePtr<Step>('k');
    Shutdown::addCallback(kept, 1);
    Shutdown::addCallback(kept, 2);
    EXPECT_EQ(kept.useCount(), 3);
    Shutdown::removeCallback(kept);
    EXPECT_EQ(kept.useCount(), 1);
    EXPECT_EQ(runAll(), "");
}

TEST(Splat, callbacksGetTheMessageInOrderWhateverOneThrows)
{
    static const SplatCallback first = [](const char* message) { trace += message; };
    static const SplatCallback thrower = [](const char*) { throw 1; };
    static const SplatCallback last = [](const char*) { trace += '.'; };
    trace.clear();
    EXPECT_TRUE(addSplatCallback(first) && addSplatCallback(thrower) && addSplatCallback(last));
    callSplatCallbacks("boom");
    for (const SplatCallback callback : {first, thrower, last})
        removeSplatCallback(callback);
    callSplatCallbacks("nobody");
    EXPECT_EQ(trace, "boom.");
    EXPECT_FALSE(addSplatCallback(nullptr));
}

TEST(NamedObjects, typeAndNameHaveOneObject)
{
    auto& names = Mw::NamedObjectsNamespace::getGlobalNamespaceInstance();
    const auto makeInt = []() -> void* { return new int(0); };
    void* const object = names.findOrCreate_(typeid(int), "one", makeInt);
    EXPECT_EQ(names.findOrCreate_(typeid(int), std::string("one").c_str(), makeInt), object);
    EXPECT_NE(names.findOrCreate_(typeid(int), "two", makeInt), object);
    EXPECT_NE(names.findOrCreate_(typeid(long), "one", []() -> void* { return new long(0); }), object);

    // Threads that race get one object.
    static std::atomic<int> made;
    std::vector<void*> found(4);
    {
        std::vector<std::jthread> threads;
        for (void*& slot : found)
            threads.emplace_back(
                [&]
                {
                    slot = names.findOrCreate_(typeid(made), "raced", []() -> void* { return new int(++made); });
                });
    }
    EXPECT_EQ(made, 1);
    EXPECT_EQ(found, std::vector<void*>(4, found[0]));

    // A maker may look up others; one that fails leaves the name free.
    EXPECT_THROW(names.findOrCreate_(typeid(int), "three", []() -> void* { throw 1; }), int);
    void* const nested =
        names.findOrCreate_(typeid(int), "three",
                            []() -> void*
                            {
                                return Mw::NamedObjectsNamespace::getGlobalNamespaceInstance().findOrCreate_(
                                    typeid(int), "one", []() -> void* { return nullptr; });
                            });
    EXPECT_EQ(nested, object);

    // A type goes with its library, and its name is elsewhere when that is loaded again.
    struct Loaded : std::type_info
    {
        explicit Loaded(const char* name) : std::type_info(name) {}
    };
    std::vector<void*> ofLoaded;
    for (int i = 0; i < 2; ++i)
    {
        const std::string name = "a type of a library that is closed";
        ofLoaded.push_back(names.findOrCreate_(*std::make_unique<Loaded>(name.c_str()), "one", makeInt));
    }
    EXPECT_EQ(ofLoaded[0], ofLoaded[1]);
}
