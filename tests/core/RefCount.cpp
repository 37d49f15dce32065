#include "Mw/RefCount.h"
#include "Mw/SmartPtr.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

struct Record
{
    explicit Record(std::string text, int* alive = nullptr) : text_(std::move(text)), alive_(alive) { count(1); }
    virtual ~Record() { count(-1); }
    bool operator==(const Record& other) const { return text_ == other.text_; }
    void count(int step)
    {
        if (alive_ != nullptr)
            *alive_ += step;
    }

    std::string text_;
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
    {
        SmartPtr<Record> a(new Record("a", &alive));
        SmartPtr<Record> b(new Record("b", &alive));
        SmartPtr<Record> second(a);
        auto& self = a;
        a = self;
        b = a;
        EXPECT_EQ(alive, 1);
        a = SmartPtr<Record>();
        second = a;
        EXPECT_EQ(alive, 1);
        EXPECT_EQ(b->text_, "a");
        b.purge();
        EXPECT_EQ(alive, 0);
        EXPECT_FALSE(b);
    }
    EXPECT_EQ(alive, 0);
}

TEST(RefCount, clientsMayLeaveAndDieWhileTheyAreTold)
{
    std::string log;
    RefCount count(false);
    for (const char* const name : {"a", "b"})
    {
        Client* const client = new Client(name, log);
        client->from_ = &count;
        client->deletesItself_ = true;
        count.addClient(client);
    }
    count.incRef();
    count.decRef();
    count.incRef();
    count.decRef();
    EXPECT_EQ(log, "ab");
}

// Under the address sanitizer this is a read of freed memory if the count were touched later.
TEST(RefCount, selfDeletingOneIsGoneBeforeItsClientsAreTold)
{
    std::string log;
    Client client("a", log);
    RefCount* const count = new RefCount(true);
    count->addClient(&client);
    count->incRef();
    EXPECT_EQ(count->decRef(), 0);
    EXPECT_EQ(log, "a");
}
