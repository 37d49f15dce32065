#include "Mw/Exception.h"
#include "OS/OS.h"
#include "OS/TextBlocks.h"

#include <gtest/gtest.h>

#include <cstddef>

TEST(Exception, onlyARuntimeErrorCarriesTheStackWhichItsCopiesShare)
{
    const Mw::Exception::RuntimeError error("message", "misc/Cookie", 955);
    ASSERT_FALSE(error.stack_.empty());
    EXPECT_TRUE(Mw::Exception::LogicError("eof", "misc/inpstream", 99).stack_.empty());

    const Mw::Exception::Base copy = error;
    EXPECT_EQ(copy.message_, error.message_) << "texts are not copied";
    ASSERT_EQ(copy.stack_.size(), error.stack_.size());
    EXPECT_EQ(copy.stack_[0].c_str(), error.stack_[0].c_str());
}

TEST(Exception, allocatorThrowsBadAllocInsteadOfGivingNull)
{
    if (!MW_TEXT_BLOCK_LISTS)
        GTEST_SKIP() << "a sanitizer's malloc ends the program instead of giving null";
    const volatile std::size_t tooMuch = static_cast<std::size_t>(-1) / 4;
    void* block = OS().allocator().allocate(16);
    const auto grow = [&] { block = OS().allocator().reallocate(block, tooMuch); };
    EXPECT_THROW(grow(), Mw::Exception::BadAlloc);
    OS().allocator().release(block);
    EXPECT_THROW(OS().allocator().release(OS().allocator().allocate(tooMuch)), Mw::Exception::BadAlloc);
}
