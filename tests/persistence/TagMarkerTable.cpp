#include "misc/persistence/TagMarkerTable.h"

#include "OS/testing/FailingFileMgr.h"
#include "OS/testing/MemoryFileMgr.h"
#include "StoredObjects.h"
#include "SwapTables.h"
#include "misc/persistence/DynamicIntegralStorage.h"

#include <algorithm>
#include <cstring>
#include <random>

using namespace swaptables;

namespace
{

struct Value
{
    std::string id;
    int number = 0;
    std::string name;
    double gain = 0;
    std::string next;

    bool operator==(const Value&) const = default;
};
using Values = std::vector<Value>;

Value valueOf(const Object& object)
{
    Value value;
    value.id = object.id;
    Cursor shot{object.layers.at(2).second};
    value.number = static_cast<int>(shot.number(4));
    value.name = shot.text();
    Cursor cut{object.layers.at(3).second};
    const std::string gain = cut.take(8);
    std::memcpy(&value.gain, gain.data(), gain.size());
    bool whole = false;
    const std::vector<Object> handle = decode(cut.bytes.substr(cut.at), whole);
    EXPECT_TRUE(whole && handle.size() == 1 && handle[0].hierarchy == "P");
    value.next = Cursor{handle.at(0).layers.at(1).second}.text();
    return value;
}

Value valueOf(const Cut& cut)
{
    return {cut.id().asString().c_str(), cut.number, cut.name.c_str(), cut.gain, cut.next.gid().asString().c_str()};
}

std::string ghostBytes(const char* text)
{
    return stored::object(2, "T.Z", {{"T", std::string("0000000A00000001F\0Taggable.Ghost\0", 33)}, {"Z", text}});
}

class TagMarkerTableTest : public SwapTableTest
{
protected:
    Path name() const { return folder_ + L"/" + cookie_.asWString() + L".odb"; }

    // The table's own objects in a file, which holds others only if they are ghosts.
    Values stored(const Path& path)
    {
        bool whole = false;
        Values values;
        ghosts_.clear();
        for (const Object& object : decode(fileBytes(path), whole))
            if (object.hierarchy == "T.Z")
                ghosts_ += object.layers.at(2).second;
            else
            {
                EXPECT_EQ(object.kind, "Taggable.Shot.Cut");
                values.push_back(valueOf(object));
            }
        EXPECT_TRUE(whole);
        return values;
    }
    Values stored() { return stored(name()); }

    MemoryFileMgr disk_;
    FailingFileMgr failing_{disk_, FailingFileMgr::eAllChanges | FailingFileMgr::eRead};
    const OSReplacement<iFileMgr> replaced_{failing_};
    std::string ghosts_;
};

// Random operations beside a plain list of what the table holds and one of what its file does.
class TableModel : public TagMarkerTableTest
{
protected:
    Mw::Ptr<TagMarker> markerOf(const Value& value) { return table_->find(IdStamp(value.id.c_str())); }
    Value& anyValue() { return values_[below(values_.size())]; }
    std::size_t below(std::size_t end) { return random_() % end; }

    void intern()
    {
        const Mw::Ptr<Cut> cut = makeCut(int(below(100)), std::string(below(below(20) == 0 ? 5000 : 30), 'n').c_str());
        if (!values_.empty())
            cut->next = TagBase(markerOf(anyValue()));
        table_->intern(cut);
        values_.push_back(valueOf(*cut));
    }
    void change(Value& value)
    {
        const auto cut = Mw::dynamicCast<Cut>(markerOf(value)->demand());
        cut->gain = double(below(3));
        if (below(3) == 0)
            cut->name = std::string(below(40), 'c').c_str();
        value = valueOf(*cut);
    }
    void check(const Value& value)
    {
        const auto cut = Mw::dynamicCast<Cut>(markerOf(value)->demand());
        ASSERT_TRUE(cut);
        ASSERT_EQ(valueOf(*cut), value);
        const auto next = std::find_if(values_.begin(), values_.end(), [&](auto& v) { return v.id == value.next; });
        const auto found = cut->next.demandAs<Cut>();
        ASSERT_EQ(found ? valueOf(*found) : Value(), next != values_.end() ? *next : Value());
    }
    void displace(const Value& value)
    {
        const Mw::Ptr<TagMarker> marker = markerOf(value);
        const bool changed = marker->modified();
        ASSERT_TRUE(marker->displace());
        ASSERT_FALSE(marker->held());
        if (changed)
            stored_ = values_;
    }
    void destroy(std::size_t at)
    {
        const Mw::Ptr<TagMarker> marker = markerOf(values_[at]);
        if (below(2) == 0)
            marker->destroy();
        else
            ASSERT_TRUE(table_->destroyMarker(marker->id()));
        ASSERT_FALSE(marker->demand());
        values_.erase(values_.begin() + long(at));
    }
    void moveToEnd(std::size_t at)
    {
        const Mw::Ptr<TagMarker> marker = markerOf(values_[at]);
        ASSERT_TRUE(table_->extract(marker));
        ASSERT_FALSE(table_->find(marker->id()));
        ASSERT_EQ(table_->intern(marker), marker);
        std::rotate(values_.begin() + long(at), values_.begin() + long(at) + 1, values_.end());
    }
    void flushCopy()
    {
        ASSERT_TRUE(table_->flush(L"/home/copy"));
        ASSERT_EQ(stored(L"/home/copy"), values_);
    }
    void close(bool write, bool again)
    {
        ASSERT_TRUE(table_->closeSwap(write));
        ASSERT_EQ(table_->swapFile(), nullptr);
        if (write)
            stored_ = values_;
        if (again)
        {
            ASSERT_TRUE(table_->reOpen());
            return;
        }
        table_ = open();
        values_ = stored_;
    }
    void step()
    {
        const std::size_t what = below(100);
        if (what < 15 || values_.size() < 3)
            intern();
        else if (what < 35)
            change(anyValue());
        else if (what < 55)
            check(anyValue());
        else if (what < 65)
            displace(anyValue());
        else if (what < 78)
            destroy(below(values_.size()));
        else if (what < 82)
            moveToEnd(below(values_.size()));
        else if (what < 84)
            flushCopy();
        else if (what < 88)
            close(below(3) != 0, below(2) == 0);
        else if (what < 92)
            ASSERT_EQ(table_->modified(), values_ != stored_);
        else if (what < 94)
            table_->purge();
        else if (what < 95)
            ASSERT_TRUE(table_->loadAll());
        else
        {
            ASSERT_TRUE(what < 97 ? table_->displaceAll() : table_->flush());
            stored_ = values_;
        }
        ASSERT_EQ(table_->size(), values_.size());
        ASSERT_EQ(stored(), stored_);
        ASSERT_EQ(ghosts_, "firstlast");
    }

    std::minstd_rand random_{11};
    Mw::Ptr<TagMarkerTable> table_;
    Values values_, stored_;
};

} // namespace

TEST_F(TableModel, tableAndFileHoldWhatTheyWereGivenWhateverHappens)
{
    ASSERT_TRUE(putFile(name(), ghostBytes("first") + ghostBytes("last")));
    table_ = open();
    for (int i = 0; i < 12000 && !HasFailure(); ++i)
    {
        SCOPED_TRACE(i);
        step();
    }
}
