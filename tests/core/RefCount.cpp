#include "Mw/RefCount.h"
#include "Mw/SmartPtr.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

struct Record
{
    explicit Record(int* alive) : alive_(alive) { ++*alive_; }
    ~Record() { --*alive_; }
    bool operator==(const Record&) const { return true; }
    int* alive_;
};

struct Client : RefCountClient
{
    Client(std::string name, std::string& log) : name_(std::move(name)), log_(log) {}
    void refCountIsZero() override
    {
        log_ += name_;
        if (from_ != nullptr)
            from_->removeClient(this);
        if (deletesItself_)
            delete this;
    }

    std::string name_;
    std::string& log_;
    RefCount* from_ = nullptr;
    bool deletesItself_ = false;
};

} // namespace

TEST(SmartPtr, lastOneDeletesTheObject)
{
    int alive = 0;
    SmartPtr<Record> a(new Record(&alive)), b(new Record(&alive));
    EXPECT_TRUE(a == b) << "as the objects are";
    EXPECT_FALSE(a == SmartPtr<Record>() || SmartPtr<Record>() == a);
    SmartPtr<Record> second(a);
    auto& self = a;
    a = self;
    b = a;
    EXPECT_EQ(alive, 1);
    a = SmartPtr<Record>();
    second = a;
    EXPECT_EQ(alive, 1);
    b.purge();
    EXPECT_EQ(alive, 0);
    EXPECT_FALSE(b);
}

// The clients leave and die while they are told, after a count that deletes itself is gone: under the address
// sanitizer this is a read of freed memory if the count were touched later.
TEST(RefCount, zeroTellsTheClientsInOrderOnce)
{
    for (const bool deletesItself : {false, true})
    {
        std::string log;
        RefCount* const count = new RefCount(deletesItself);
        for (const char* const name : {"a", "b"})
        {
            Client* const client = new Client(name, log);
            client->from_ = deletesItself ? nullptr : count;
            client->deletesItself_ = true;
            count->addClient(client);
        }
        count->incRef();
        EXPECT_EQ(count->incRef(), 2);
        EXPECT_EQ(count->decRef(), 1);
        EXPECT_EQ(log, "");
        EXPECT_EQ(count->decRef(), 0);
        EXPECT_EQ(log, "ab");
        if (deletesItself)
            continue;
        count->incRef();
        count->decRef();
        EXPECT_EQ(log, "ab");
        delete count;
    }
}
