#include "misc/persistence/TagMarkerTable.h"

#include "OS/testing/FailingFileMgr.h"
#include "OS/testing/MemoryFileMgr.h"
#include "StoredObjects.h"
#include "SwapTables.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>
#include <random>
#include <thread>

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
    // The file is now of what the table holds, under the table's name.
    void setStored()
    {
        stored_ = values_;
        cookie_ = table_->pId();
    }
    bool differs() const { return values_ != stored_ || cookie_ != table_->pId(); }
    void displace(const Value& value)
    {
        const Mw::Ptr<TagMarker> marker = markerOf(value);
        const bool changed = marker->modified();
        ASSERT_TRUE(marker->displace());
        ASSERT_FALSE(marker->held());
        if (changed)
            setStored();
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
        if (below(2) == 0)
        {
            ASSERT_TRUE(table_->extract(marker));
        }
        else
        {
            ASSERT_TRUE(other_.intern(marker) && other_.flush());
        }
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
            setStored();
        if (again)
        {
            const std::size_t meanwhile = below(4);
            if (meanwhile == 0 && !values_.empty())
                destroy(below(values_.size()));
            if (meanwhile <= 1)
            {
                ASSERT_EQ(table_->modified(), differs());
            }
            else if (meanwhile == 2)
            {
                ASSERT_TRUE(table_->flush());
                setStored();
            }
            table_->purge();
            ASSERT_EQ(table_->swapFile(), nullptr);
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
            ASSERT_EQ(table_->modified(), differs());
        else if (what < 93)
            table_->purge();
        else if (what < 94)
            table_->pId(Cookie('P', 7 + static_cast<int>(below(3)), 0, 5));
        else if (what < 95)
            ASSERT_TRUE(table_->loadAll());
        else
        {
            ASSERT_TRUE(what < 97 ? table_->displaceAll() : table_->flush());
            setStored();
        }
        ASSERT_EQ(table_->size(), values_.size());
        if (below(6) != 0)
            return;
        ASSERT_EQ(stored(), stored_);
        ASSERT_EQ(ghosts_, "firstlast");
    }

    std::minstd_rand random_{11};
    Mw::Ptr<TagMarkerTable> table_;
    TagMarkerTable other_{folder_, Cookie('P', 10, 0, 5), L"odb"};
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

TEST_F(TagMarkerTableTest, failedWriteLeavesFileMarkersAndPlaces)
{
    using Write = bool (*)(TagMarkerTable&);
    const Write writes[] = {[](TagMarkerTable& table) { return table.flush(); },
                            [](TagMarkerTable& table) { return table.displaceAll(); },
                            [](TagMarkerTable& table) { return table.closeSwap(true); },
                            [](TagMarkerTable& table) { return table.markers()[0]->displace(); }};
    int failures = 0;
    for (const Write write : writes)
    {
        for (const auto afterwards : {FailingFileMgr::eOnce, FailingFileMgr::eFromThenOn})
        {
            bool written = false;
            for (int call = 1; !written; ++call)
            {
                SCOPED_TRACE(call);
                Mw::Ptr<TagMarkerTable> table = open();
                table->init();
                for (int i = 0; i < 3; ++i)
                    table->intern(makeCut(i, "old"));
                ASSERT_TRUE(table->displaceAll());
                const Values old = stored();
                const auto cut = Mw::dynamicCast<Cut>(table->markers()[0]->demand());
                cut->name = "new";
                Values changed = old;
                changed[0].name = "new";
                failing_.failAt(call, afterwards);
                written = write(*table);
                failing_.failAt(0);
                for (const bool machineStopped : {false, true})
                {
                    if (machineStopped)
                        disk_.loseUnflushed();
                    const Values found = stored();
                    ASSERT_TRUE(found == changed || (!written && found == old));
                }
                if (!written)
                {
                    ++failures;
                    ASSERT_EQ(table->markers()[0]->held(), cut);
                    if (write != writes[2]) // which closes in any case
                    {
                        ASSERT_EQ(valueOf(*Mw::dynamicCast<Cut>(table->markers()[1]->demand())), old[1]);
                    }
                    ASSERT_TRUE(table->modified());
                    ASSERT_TRUE(table->flush());
                }
                ASSERT_TRUE(table->reOpen());
                for (std::size_t i = 0; i < changed.size(); ++i)
                {
                    ASSERT_TRUE(table->markers()[i]->displace());
                    ASSERT_EQ(valueOf(*Mw::dynamicCast<Cut>(table->markers()[i]->demand())), changed[i]);
                }
                ASSERT_EQ(stored(), changed);
                ASSERT_LT(call, 100);
            }
        }
    }
    EXPECT_GT(failures, 30);
}

// The bytes that docs/formats.md shows, behind one of the older generation and one of a class that nobody knows.
TEST_F(TagMarkerTableTest, fileIsThatOfTheFormatAndOpensAsFarAsItIsWhole)
{
    const std::string shot("$\0\x02\0\x05\0\0\0\x49\0\0\0T.Sh\0"
                           "T\0\x01\0\x20\0\0\0\x38\0\0\0"
                           "0000006437A1B2C05\0Taggable.Shot\0"
                           "Sh\0\x01\0\x0b\0\0\0\x0b\0\0\0\x19\0\0\0take 7\0",
                           85);
    const std::string handle = stored::object(2, "P", {{"P", std::string("0000006437A1B2C05\0", 18)}});
    const std::string file = stored::object(1, "T.Sh.Cu",
                                            {{"T", std::string("0000006437A1B2C04\0Taggable.Shot.Cut\0", 36)},
                                             {"Sh", std::string("\1\0\0\0a\0", 6)},
                                             {"Cu", std::string(8, '\0') + handle}}) +
                             ghostBytes("?") + shot;
    const std::size_t handleId = file.find("0000006437A1B2C05");
    const auto readAll = [&](const std::string& bytes)
    {
        ASSERT_TRUE(putFile(name(), bytes));
        bool whole = true, failed = true;
        const std::size_t count = decode(bytes, whole).size();
        whole = whole && (bytes.size() < file.size() || isId(bytes.substr(handleId, 17)));
        const Mw::Ptr<TagMarkerTable> table = open(failed);
        ASSERT_TRUE(whole || failed);
        ASSERT_EQ(said().find("exception"), std::string::npos);
        ASSERT_TRUE(failed || table->size() <= count);
        if (bytes == file)
        {
            ASSERT_FALSE(failed) << said();
            ASSERT_EQ(table->size(), 2u);
            ASSERT_EQ(count, 3u);
        }
        // Nothing of it is lost.
        ASSERT_TRUE(table->flush());
        const Path kept = name() + L".unread-1";
        ASSERT_EQ(fileBytes(kept), failed ? bytes : "");
        disk_.remove(kept);
        ASSERT_EQ(table->modified(), false);
        ASSERT_TRUE(table->displaceAll() && table->loadAll());
        if (bytes != file)
            return;
        const auto cut = Mw::dynamicCast<Cut>(table->markers()[0]->demand());
        ASSERT_EQ(cut->next.demandAs<Shot>()->name, "take 7");
        ASSERT_EQ(fileBytes(name()).substr(table->markers()[1]->storedPosition()), shot);
    };
    readAll(file);
    const stored::LittleMemory little;
    for (std::size_t cut = 0; cut < file.size() && !HasFailure(); ++cut)
        readAll(file.substr(0, cut));
    for (std::size_t bit = 0; bit < 8 * file.size() && !HasFailure(); ++bit)
    {
        SCOPED_TRACE(bit);
        std::string flipped = file;
        flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ 1 << bit % 8);
        readAll(flipped);
    }
}

TEST_F(TagMarkerTableTest, whatFollowsAnUnreadableObjectStaysInTheFile)
{
    Mw::Ptr<TagMarkerTable> table = open();
    for (int i = 0; i < 3; ++i)
        table->intern(makeCut(i, "cut"));
    ASSERT_TRUE(table->closeSwap(true));
    std::string damaged = fileBytes(name());
    const std::size_t second = table->markers()[1]->storedPosition();
    damaged[second] = '%';
    ASSERT_TRUE(putFile(name(), damaged));
    bool failed = false;
    table = open(failed);
    EXPECT_TRUE(failed && table->size() == 1 && table->find(table->markers()[0]->id()));
    EXPECT_NE(said().find("TagMarkerTable::openSwap stream error:"), std::string::npos);

    // The rest stays last, so that a new object is read the next time.
    table->intern(makeCut(9, "new"));
    ASSERT_TRUE(table->flush());
    EXPECT_EQ(fileBytes(name() + L".unread-1"), damaged);
    EXPECT_TRUE(fileBytes(name()).ends_with(damaged.substr(second)));
    table = open(failed);
    EXPECT_TRUE(failed && table->size() == 2);
    table->intern(makeCut(10, "newer"));
    failing_.failAt(1); // the copy
    EXPECT_FALSE(table->flush());
    failing_.failAt(0);
    EXPECT_TRUE(table->flush());
    EXPECT_TRUE(disk_.exists(name() + L".unread-2") && fileBytes(name()).ends_with(damaged.substr(second)));
}

TEST_F(TagMarkerTableTest, objectsThatAskForEachOtherWhileTheyAreReadComeBack)
{
    const Mw::Ptr<TagMarkerTable> table = open();
    const int count = 40;
    for (int i = 0; i < count; ++i)
        table->intern(makeCut(i, "ring"));
    for (int i = 0; i < count; ++i)
        Mw::dynamicCast<Cut>(table->markers()[std::size_t(i)]->held())->next =
            TagBase(table->markers()[std::size_t((i + 1) % count)]);
    ASSERT_TRUE(table->displaceAll());
    Cut::onUnpack = [](Cut& cut) { cut.asked = cut.next.demandAs<Cut>(); };
    const auto first = Mw::dynamicCast<Cut>(table->markers()[0]->demand());
    EXPECT_EQ(said(), " Object demand failure.\n"); // of the first by the last
    int found = 0;
    for (Mw::Ptr<Cut> cut = first; cut && found <= count; cut = cut->asked, ++found)
        EXPECT_EQ(cut->number, found);
    EXPECT_EQ(found, count);
    // Longer chains end at the limit that objects within objects have.
    for (const Mw::Ptr<TagMarker>& marker : table->markers())
        Mw::dynamicCast<Cut>(marker->held())->asked = nullptr;
    const Mw::Ptr<TagMarker> last = table->markers()[count - 1];
    for (int i = 0; i < 200; ++i)
        table->intern(makeCut(i, "chain"))->id();
    for (std::size_t i = count; i + 1 < table->size(); ++i)
        Mw::dynamicCast<Cut>(table->markers()[i]->held())->next = TagBase(table->markers()[i + 1]);
    ASSERT_TRUE(table->displaceAll());
    EXPECT_TRUE(table->markers()[count]->demand());
    EXPECT_NE(said().find(" Object demand failure.\n"), std::string::npos);
}

TEST_F(TagMarkerTableTest, openingThatFailsCostsNothingThatIsStored)
{
    Mw::Ptr<TagMarkerTable> table = open();
    for (int i = 0; i < 3; ++i)
        table->intern(makeCut(i, "old"));
    ASSERT_TRUE(table->closeSwap(true));
    const std::string bytes = fileBytes(name());
    FailingFileMgr failing(disk_, FailingFileMgr::eAllCalls);
    const OSReplacement<iFileMgr> replaced(failing);
    int calls = 0;
    const auto openAndStore = [&](iFile::eOpenBehaviour behaviour)
    {
        bool failed = false;
        table = open(failed, behaviour);
        calls = failing.calls();
        failing.failAt(0);
        Cut::onUnpack = nullptr;
        table->intern(makeCut(3, "new"));
        const bool stored = table->flush();
        ASSERT_TRUE(stored || !table->closeSwap(true));
        const std::size_t count = this->stored().size();
        ASSERT_TRUE(count == (stored ? 4u : 3u) && (stored || fileBytes(name()) == bytes));
        ASSERT_TRUE(putFile(name(), bytes));
    };
    for (const auto behaviour : {iFile::eOpenExisting, iFile::eOpenAlways, iFile::eCreateNew})
    {
        calls = 1;
        for (int call = 1; call <= calls && !HasFailure(); ++call)
        {
            SCOPED_TRACE(call);
            failing.failAt(call);
            openAndStore(behaviour);
        }
        if (behaviour == iFile::eCreateNew)
            continue;
        for (int object = 0; object < 3; ++object)
        {
            Cut::onUnpack = [=](Cut& cut) { cut.number == object ? throw std::bad_alloc() : void(); };
            openAndStore(behaviour);
        }
    }
    // One that throws at another time is not read, and can be later.
    table = open();
    ASSERT_TRUE(table->displaceAll());
    Cut::onUnpack = [](Cut&) { throw 1; };
    EXPECT_FALSE(table->markers()[0]->demand() || table->loadAll() || (table->closeSwap(false) && table->reOpen()));
    Cut::onUnpack = nullptr;
    EXPECT_TRUE(table->reOpen() && table->loadAll() && !table->modified());
    // A name where the directory could not be flushed is the table's own nevertheless.
    disk_.remove(name());
    table = open();
    table->intern(makeCut(1, "one"));
    FailingFileMgr noSync(disk_, FailingFileMgr::eSyncDirectory);
    const OSReplacement<iFileMgr> withoutSync(noSync);
    noSync.failAt(1);
    EXPECT_TRUE(!table->flush() && table->flush() && stored().size() == 1);
}

TEST_F(TagMarkerTableTest, whatObjectsDoWhileTheirTableWorksWithThemHarmsNothing)
{
    const Mw::Ptr<TagMarkerTable> table = open();
    for (int i = 0; i < 6; ++i)
        table->intern(makeCut(i, "cut"));
    ASSERT_TRUE(table->displaceAll());
    const std::vector<Mw::Ptr<TagMarker>> markers = table->markers();
    const auto cutAt = [&](std::size_t i) { return Mw::dynamicCast<Cut>(markers[i]->demand()); };
    // Of those that are read or packed none gets the file replaced.
    int refused = 0;
    const auto meddle = [&](const Cut& cut)
    {
        if (cut.number == 5 || refused > 1000)
            return;
        markers[5]->instance(makeCut(5, "changed"));
        refused += !table->flush() + !table->flush(L"/home/copy") + !markers[5]->displace() + !table->closeSwap(true) +
                   !table->reOpen();
        table->init();
        ASSERT_TRUE(table->size() == 6 && cut.name == "cut");
    };
    Cut::onUnpack = meddle;
    const std::uint64_t position = table->markers()[1]->demand() ? table->swapFile()->position() : 0;
    EXPECT_TRUE(cutAt(0) && refused == 10 && table->swapFile()->position() == position);
    Cut::onUnpack = nullptr;
    cutAt(0)->gain = 1;
    Cut::onPack = [&](const Cut& cut, PStream&) { meddle(cut); };
    EXPECT_TRUE(table->modified() && table->flush() && table->flush(L"/home/copy"));
    Cut::onPack = nullptr;
    EXPECT_EQ(stored(), stored(L"/home/copy"));
    EXPECT_TRUE(refused >= 20 && !table->modified());
    // What happens when objects hear that they leave is stored.
    EXPECT_TRUE(table->loadAll());
    Shot::onDisplace = [&](Shot& shot)
    {
        if (shot.number == 2)
            table->intern(makeCut(6, "late"));
        shot.name = "told";
    };
    EXPECT_TRUE(table->displaceAll());
    Shot::onDisplace = nullptr;
    const Values values = stored();
    ASSERT_EQ(values.size(), 7u);
    for (std::size_t i = 0; i < values.size(); ++i)
    {
        EXPECT_TRUE(values[i].number == int(i) && values[i].name == "told" && !table->markers()[i]->held());
    }
    Shot::onDisplace = [](Shot& shot) { shot.name = "again"; };
    EXPECT_TRUE(cutAt(1) && !markers[1]->purge() && markers[1]->displace());
    EXPECT_EQ(stored()[1].name, "again");
}

TEST_F(TagMarkerTableTest, twinsAndObjectsWithoutIdKeepTheirPlaces)
{
    const auto shot = [](const std::string& id, char number)
    {
        return stored::object(
            2, "T.Sh", {{"T", id + std::string("\0Taggable.Shot\0", 15)}, {"Sh", std::string{number, 0, 0, 0, 0}}});
    };
    const std::string id = "0000006437A1B2C05";
    ASSERT_TRUE(putFile(name(), shot(id, 0) + shot(id, 1) + shot("", 2) + shot("", 3)));
    const Mw::Ptr<TagMarkerTable> table = open();
    const std::vector<Mw::Ptr<TagMarker>> markers = table->markers();
    ASSERT_EQ(markers.size(), 4u);
    EXPECT_TRUE(table->destroyMarker(markers[0]) && table->destroyMarker(markers[2]));
    markers[1]->drop();
    markers[3]->drop();
    said();
    EXPECT_TRUE(table->closeSwap(false) && table->reOpen());
    EXPECT_EQ(said().find("invalid"), std::string::npos);
    table->buildIdMap();
    EXPECT_EQ(table->find(IdStamp(id.c_str())), markers[1]);
    for (const std::size_t i : {1u, 3u})
        EXPECT_EQ(Mw::dynamicCast<Shot>(markers[i]->demand())->number, int(i));
    bool whole = false;
    EXPECT_TRUE(table->flush() && decode(fileBytes(name()), whole).size() == 2 && whole);
}

TEST_F(TagMarkerTableTest, anyThreadMayAskWhileOthersDisplace)
{
    const Mw::Ptr<TagMarkerTable> table = open();
    for (int i = 0; i < 8; ++i)
        table->intern(makeCut(i, "cut"));
    ASSERT_TRUE(table->flush());
    const std::vector<Mw::Ptr<TagMarker>> markers = table->markers();
    std::atomic<int> wrong = 0;
    const auto ask = [&]
    {
        for (int round = 0; round < 100; ++round)
            for (std::size_t i = 0; i < markers.size(); ++i)
            {
                const auto cut = Mw::dynamicCast<Cut>(markers[i]->demand());
                wrong += !cut || cut->number != int(i) || markers[i]->table() != table.get() ||
                         markers[i]->storedLength() == 0 || markers[i]->tagTypeId().empty() ||
                         table->extension() != L".odb" || table->readOnly();
            }
    };
    std::thread first(ask), second(ask);
    for (int round = 0; round < 30; ++round)
    {
        wrong += !(round % 3 == 0 ? table->displaceAll() : round % 3 == 1 ? table->flush() : markers[2]->displace());
        table->extension(L"odb");
        table->readOnly(false);
    }
    first.join();
    second.join();
    EXPECT_EQ(wrong, 0);
}

TEST(TagMarker, markersOfManyBlocksComeAndGoOnAnyThread)
{
    const auto comeAndGo = [](std::uint32_t thread, bool& good)
    {
        std::minstd_rand random{thread};
        std::vector<Mw::Ptr<TagMarker>> markers(1000);
        const auto idOf = [=](std::size_t i) { return IdStamp(thread, 1, std::uint32_t(i)); };
        for (int i = 0; i < 20000; ++i)
        {
            const std::size_t at = random() % (i < 15000 ? markers.size() : std::size_t(1 + i % 7));
            good = good && (!markers[at] || (markers[at]->id() == idOf(at) && !markers[at]->held()));
            markers[at] = random() % 3 != 0 ? Mw::Ptr<TagMarker>(new TagMarker(idOf(at))) : nullptr;
        }
    };
    bool first = true, second = true;
    std::thread other(comeAndGo, 1, std::ref(first));
    comeAndGo(2, second);
    other.join();
    EXPECT_TRUE(first && second);
}

TEST_F(TagMarkerTableTest, edgesOfTables)
{
    TagMarkerTable plain(folder_, cookie_, L"odb");
    plain.extension(L".odb");
    EXPECT_EQ(plain.fileName(), name());
    plain.extension(L"");
    EXPECT_EQ(plain.fileName(), folder_ + L"/" + cookie_.asWString());

    bool failed = false;
    EXPECT_EQ(open(failed, iFile::eOpenExisting)->swapFile(), nullptr);
    EXPECT_TRUE(failed);
    EXPECT_NE(said().find("TagMarkerTable::openSwap failed to open file:/home/"), std::string::npos);

    Mw::Ptr<TagMarkerTable> table = open();
    const Mw::Ptr<TagMarker> marker = table->intern(makeCut(1, "one"));
    EXPECT_FALSE(table->intern(Mw::Ptr<TagMarker>()));
    EXPECT_FALSE(table->destroyMarker(IdStamp()) || table->find(IdStamp()));
    const Mw::Ptr<TagMarker> empty = table->intern(Mw::Ptr<TagMarker>(new TagMarker(*table, IdStamp())));
    EXPECT_FALSE(empty->demand() || empty->isPersistant());
    table->readOnly(true);
    const int calls = failing_.calls();
    EXPECT_FALSE(table->flush() || table->displaceAll());
    EXPECT_TRUE(table->closeSwap(true) && marker->held());
    EXPECT_EQ(failing_.calls(), calls);
    table->readOnly(false);

    // An object that can't be packed keeps the file from being written.
    const auto cut = Mw::dynamicCast<Cut>(marker->held());
    EXPECT_TRUE(table->flush());
    const std::string before = fileBytes(name());
    Cut::onPack = [](const Cut&, PStream& stream) { stream.append("no room"); };
    cut->name = "lost";
    EXPECT_FALSE(table->flush() || marker->displace());
    EXPECT_NE(said().find("can't be packed: no room"), std::string::npos);
    EXPECT_TRUE(fileBytes(name()) == before && cut->displaced == 0);
    Cut::onPack = [](const Cut&, PStream&) { throw 1; };
    EXPECT_FALSE(table->flush() || marker->displace());
    Cut::onPack = nullptr;
    EXPECT_TRUE(table->closeSwap(true) && table->closeSwap(true) && !marker->held() && cut->displaced == 1);
    EXPECT_FALSE(marker->demand()); // closed
    EXPECT_TRUE(table->reOpen() && marker->demand());

    // A marker moves to another table with its object, and a stamp that is there twice leads to the first.
    Mw::Ptr<TagMarkerTable> other(new TagMarkerTable(folder_, Cookie('P', 8, 0, 5), L"odb"));
    EXPECT_EQ(other->intern(marker), marker);
    EXPECT_TRUE(other->displaceAll() && table->flush() && stored().empty());
    const Mw::Ptr<TagMarker> twin = other->intern(Mw::Ptr<TagMarker>(new TagMarker(*other, marker->id())));
    twin->instance(makeCut(2, "two"));
    EXPECT_EQ(other->find(marker->id()), marker);
    EXPECT_TRUE(other->destroyMarker(twin) && other->find(marker->id()) == marker);

    // A table that is gone leaves handles without objects.
    const TagBase handle(marker);
    EXPECT_TRUE(handle.swapped() && handle.realize());
    other.reset();
    EXPECT_FALSE(handle.realize() || handle.swapped() || marker->table() != nullptr);
}
