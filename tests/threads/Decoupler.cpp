#include "misc/threads/Decoupler.h"

#include "platform/ThreadSupport.h"
#include "threads/Calls.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace MwDC;

namespace
{

// All commands of these tests write into the text that they are run with.
using Safe = ThreadSafetyTraits::ThreadSafe;
using Command = Cmd<std::string, Safe>;
using Calls = test::Calls<Safe, std::string>;

// Writes a character, and succeeds if it is a small letter.
struct Letter : Calls
{
    explicit Letter(char c) : Calls([c](Cmd&, std::string& log) { return log += c, c >= 'a'; }) {}
};

} // namespace

TEST(Command, livesThroughItsRunAndMayRunInsideOfItself)
{
    Command outside;
    int depth = 0;
    Calls caller(
        [&](Calls::Cmd& self, std::string& log)
        {
            log += '<';
            outside = {};
            const bool result = ++depth == 3 || self.execute(log);
            log += '>';
            return result;
        });
    std::string log;
    outside = caller.cmd();
    const auto* const rep = outside.getRep();
    EXPECT_TRUE(outside.execute(log));
    EXPECT_EQ(log, "<<<>>>");
    EXPECT_EQ(caller.cmd().getRep(), rep) << "was given back to the pool by the end of the run";
}

TEST(Command, compoundRunsItsChildrenInOrder)
{
    Letter a('a'), fail('X'), b('b');
    CompCmd<std::string, Safe> compound;
    std::string log;
    for (const Command& child :
         {Command(a.cmd()), Command(fail.cmd()), Command(NullCommand<std::string, Safe>()), Command(b.cmd())})
        compound.addChild(child);
    EXPECT_FALSE(compound.execute(log));
    compound.setStopOnFailure(true);
    EXPECT_FALSE(compound.execute(log));
    EXPECT_EQ(log, "aXbaX");
}

// A child removes itself and those before and behind it, adds another, drops the compound, and throws.
TEST(Command, compoundLetsItsChildrenChangeIt)
{
    Letter a('a'), b('b'), c('c'), d('d');
    CompCmd<std::string, Safe> compound;
    Command outside = compound;
    std::vector<unsigned long> keys;
    Calls changer(
        [&](Calls::Cmd&, std::string& log)
        {
            log += '!';
            for (const auto key : keys)
                EXPECT_TRUE(compound.removeChild(key));
            compound.addChild(d.cmd());
            outside = {};
            return keys.empty() ? throw std::runtime_error("child") : true;
        });
    for (Calls* const child : {static_cast<Calls*>(&a), &changer, static_cast<Calls*>(&b)})
        keys.push_back(compound.addChild(child->cmd()));
    compound.addChild(c.cmd());
    std::string log;
    EXPECT_TRUE(outside.execute(log) && compound.execute(log));
    EXPECT_EQ(log, "a!cdcd");
    keys.clear();
    compound.addChild(changer.cmd());
    EXPECT_THROW(compound.execute(log), std::runtime_error);
    std::thread([&] { EXPECT_THROW(compound.execute(log), std::runtime_error); }).join(); // the lock is free
}

TEST(Command, runsOnOneThreadAtATimeAndDiesOnce)
{
    using Rep = SimpleCommandRep<std::string, NoTag, Safe>;
    const int pooledBefore = Mw::Private::StackHolder<Rep>::get().count();
    long runs = 0; // plain: the representation's lock orders them
    Calls caller([&](Calls::Cmd&, std::string&) { return ++runs > 0; });
    Command shared = caller.cmd();
    const auto use = [&](int)
    {
        std::string log;
        for (int round = 0; round < 5000; ++round)
        {
            Command copy = shared;
            copy.executeAndRelease(log);
        }
    };
    test::Crowd(4, use);
    shared = {};
    EXPECT_EQ(runs, 20000);
    EXPECT_EQ(Mw::Private::StackHolder<Rep>::get().count(), std::max(pooledBefore, 1));
}
