#include "Mw/Exception.h"
#include "OS/OS.h"
#include "OS/TextBlocks.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <stdexcept>

namespace
{

// As handlers do: by the base class, keeping a copy.
template <class Throw>
Mw::Exception::Base caught(Throw thrower)
{
    try
    {
        thrower();
    }
    catch (const Mw::Exception::Base& e)
    {
        return e;
    }
    throw std::logic_error("nothing was thrown");
}

} // namespace

TEST(Exception, carriesItsPlaceThroughTheBaseClass)
{
    static const char message[] = "eof";
    static const char file[] = "misc/inpstream";
    const Mw::Exception::Base e = caught([] { throw Mw::Exception::LogicError(message, file, 99); });
    EXPECT_STREQ(e.kind_, "LogicError");
    EXPECT_EQ(e.message_, message) << "texts are not copied";
    EXPECT_EQ(e.file_, file);
    EXPECT_EQ(e.line_, 99);
    EXPECT_TRUE(e.stack_.empty());
}

TEST(Exception, onlyARuntimeErrorCarriesTheStackWhichItsCopiesShare)
{
    const Mw::Exception::RuntimeError error("message", "misc/Cookie", 955);
    ASSERT_FALSE(error.stack_.empty());
    EXPECT_STREQ(error.kind_, "RuntimeError");
    const Mw::Exception::Base copy = caught([&] { throw error; });
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
