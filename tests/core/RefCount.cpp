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
    EXPECT_TRUE(alive == 0 && !b);
}

// The clients leave and die while they are told, after a count that deletes itself is gone: under the address
// sanitizer this is a read of freed memory if the count were touched later.
TEST(RefCount, zeroTellsTheClientsInOrderOnce)
{
    struct Client : RefCountClient
    {
        Client(char name, std::string& log, RefCount* from) : name_(name), log_(log), from_(from) {}
        void refCountIsZero() override
        {
            log_ += name_;
            if (from_ != nullptr)
                from_->removeClient(this);
            delete this;
        }
        const char name_;
        std::string& log_;
        RefCount* const from_;
    };
    for (const bool deletesItself : {false, true})
    {
        std::string log;
        RefCount* const count = new RefCount(deletesItself);
        for (const char name : {'a', 'b'})
            count->addClient(new Client(name, log, deletesItself ? nullptr : count));
        count->incRef();
        EXPECT_TRUE(count->incRef() == 2 && count->decRef() == 1 && log.empty());
        EXPECT_EQ(count->decRef(), 0);
        EXPECT_EQ(log, "ab");
        if (!deletesItself)
            delete count;
    }
}
