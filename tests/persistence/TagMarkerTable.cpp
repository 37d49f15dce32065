#include "misc/persistence/TagMarkerTable.h"

#include "OS/testing/FailingFileMgr.h"
#include "OS/testing/MemoryFileMgr.h"
#include "StoredObjects.h"
#include "SwapTables.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <random>
#include <thread>

using namespace swaptables;

namespace
{

// What is stored of a cut: its id, and the bodies of its own two layers.
struct Value
{
    std::string id, bodies;

    bool operator==(const Value&) const = default;
};
using Values = std::vector<Value>;

Value valueOf(const Cut& cut)
{
    const std::string next = cut.next.gid().asString().c_str();
    return {cut.id().asString().c_str(), stored::bytesOf(static_cast<unsigned>(cut.number), 4) + cut.name.c_str() +
                                             '\0' +
                                             std::string(reinterpret_cast<const char*>(&cut.gain), sizeof cut.gain) +
                                             stored::object(2, "P", {{"P", next + '\0'}})};
}

std::string taggable(const std::string& id, const std::string& kind, stored::Layer layer)
{
    const std::string hierarchy = "T." + layer.name;
    return stored::object(2, hierarchy, {{"T", id + '\0' + kind + '\0'}, std::move(layer)});
}

std::string ghost(const char* text)
{
    return taggable("0000000A00000001F", "Taggable.Ghost", {"Z", text});
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
                ghosts_ += object.bodies.at(2);
            else
            {
                EXPECT_EQ(object.kind, "Taggable.Shot.Cut");
                values.push_back({object.id, object.bodies.at(2) + object.bodies.at(3)});
            }
        EXPECT_TRUE(whole);
        return values;
    }
    Values stored() { return stored(name()); }

    MemoryFileMgr disk_;
    FailingFileMgr failing_{disk_, FailingFileMgr::eAllChanges | FailingFileMgr::eRead};
    const OSReplacement<iFileMgr> replaced_{failing_};
    bool reached_ = false; // the call that was to fail
    std::string ghosts_;
};

// Random operations beside a plain list of what the table holds and one of what its file does.
class TableModel : public TagMarkerTableTest
{
protected:
    std::size_t below(std::size_t end) { return random_() % end; }
    std::size_t any() { return below(values_.size()); }
    Mw::Ptr<TagMarker> markerAt(std::size_t at) { return table_->find(IdStamp(values_[at].id.c_str())); }

    void intern()
    {
        const Mw::Ptr<Cut> cut = makeCut(int(below(100)), std::string(below(below(20) == 0 ? 5000 : 30), 'n').c_str());
        if (!values_.empty())
            cut->next = TagBase(markerAt(any()));
        table_->intern(cut);
        values_.push_back(valueOf(*cut));
    }
    void change(std::size_t at)
    {
        const Mw::Ptr<Cut> cut = cutOf(markerAt(at));
        cut->gain = double(below(3));
        if (below(3) == 0)
            cut->name = std::string(below(40), 'c').c_str();
        values_[at] = valueOf(*cut);
    }
    void check(std::size_t at)
    {
        const Mw::Ptr<Cut> cut = cutOf(markerAt(at));
        ASSERT_TRUE(cut);
        ASSERT_EQ(valueOf(*cut), values_[at]);
        const auto isNext = [&](const Value& value) { return IdStamp(value.id.c_str()) == cut->next.gid(); };
        const auto next = std::find_if(values_.begin(), values_.end(), isNext);
        const auto found = cut->next.demandAs<Cut>();
        ASSERT_EQ(found ? valueOf(*found) : Value(), next != values_.end() ? *next : Value());
    }
    // The file is now of what the table holds, under the table's name.
    void setStored(bool done)
    {
        ASSERT_TRUE(done);
        stored_ = values_;
        cookie_ = table_->pId();
    }
    void checkModified() { ASSERT_EQ(table_->modified(), values_ != stored_ || cookie_ != table_->pId()); }
    void displace(const Mw::Ptr<TagMarker>& marker)
    {
        const bool changed = marker->modified();
        ASSERT_TRUE(marker->displace() && !marker->held());
        if (changed)
            setStored(true);
    }
    void destroy(std::size_t at)
    {
        const Mw::Ptr<TagMarker> marker = markerAt(at);
        if (below(2) == 0)
            marker->destroy();
        else
            ASSERT_TRUE(table_->destroyMarker(marker->id()));
        ASSERT_FALSE(marker->demand());
        values_.erase(values_.begin() + long(at));
    }
    void moveToEnd(std::size_t at)
    {
        const Mw::Ptr<TagMarker> marker = markerAt(at);
        ASSERT_TRUE(below(2) == 0 ? table_->extract(marker) : other_.intern(marker) && other_.flush());
        ASSERT_FALSE(table_->find(marker->id()));
        ASSERT_EQ(table_->intern(marker), marker);
        std::rotate(values_.begin() + long(at), values_.begin() + long(at) + 1, values_.end());
    }
    void close(bool write, bool again)
    {
        ASSERT_TRUE(table_->closeSwap(write));
        if (write)
            setStored(true);
        if (!again)
        {
            table_ = open();
            values_ = stored_;
            return;
        }
        const std::size_t meanwhile = below(4);
        if (meanwhile == 0 && !values_.empty())
            destroy(any());
        if (meanwhile <= 1)
            checkModified();
        else if (meanwhile == 2)
            setStored(table_->flush());
        table_->purge();
        ASSERT_EQ(table_->swapFile(), nullptr);
        ASSERT_TRUE(table_->reOpen());
    }
    void step()
    {
        const std::size_t what = below(100);
        if (what < 15 || values_.size() < 3)
            intern();
        else if (what < 35)
            change(any());
        else if (what < 55)
            check(any());
        else if (what < 65)
            displace(markerAt(any()));
        else if (what < 78)
            destroy(any());
        else if (what < 82)
            moveToEnd(any());
        else if (what < 84)
            ASSERT_TRUE(table_->flush(L"/home/copy") && stored(L"/home/copy") == values_);
        else if (what < 88)
            close(below(3) != 0, below(2) == 0);
        else if (what < 92)
            checkModified();
        else if (what < 93)
            table_->purge();
        else if (what < 94)
            table_->pId(Cookie('P', 7 + static_cast<int>(below(3)), 0, 5));
        else if (what < 95)
            ASSERT_TRUE(table_->loadAll());
        else
            setStored(what < 97 ? table_->displaceAll() : table_->flush());
        ASSERT_EQ(table_->size(), values_.size());
        ASSERT_TRUE(below(6) != 0 || (stored() == stored_ && ghosts_ == "firstlast"));
    }

    std::minstd_rand random_{11};
    Mw::Ptr<TagMarkerTable> table_;
    TagMarkerTable other_{folder_, Cookie('P', 10, 0, 5), L"odb"};
    Values values_, stored_;
};

} // namespace

TEST_F(TableModel, tableAndFileHoldWhatTheyWereGivenWhateverHappens)
{
    ASSERT_TRUE(putFile(name(), ghost("first") + ghost("last")));
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
    const Write close = [](TagMarkerTable& table) { return table.closeSwap(true); };
    const Write writes[] = {[](TagMarkerTable& table) { return table.flush(); },
                            [](TagMarkerTable& table) { return table.displaceAll(); }, close,
                            [](TagMarkerTable& table) { return table.markers()[0]->displace(); }};
    const auto failAt = [&](int call, FailingFileMgr::eAfterwards afterwards, Write write, bool isFirst)
    {
        ASSERT_TRUE((disk_.remove(name()), disk_.syncDirectory(folder_)));
        const Mw::Ptr<TagMarkerTable> table = open(3, "old");
        ASSERT_TRUE(isFirst || table->displaceAll());
        const std::vector<Mw::Ptr<TagMarker>> markers = table->markers();
        const Values old = stored();
        const Mw::Ptr<Cut> cut = cutOf(markers[0]);
        cut->name = "new";
        Values changed;
        for (const Mw::Ptr<TagMarker>& marker : markers)
            changed.push_back(isFirst || marker->held() ? valueOf(*cutOf(marker)) : old[changed.size()]);
        failing_.failAt(call, afterwards);
        const bool written = write(*table);
        reached_ = failing_.calls() >= call;
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
            ASSERT_EQ(markers[0]->held(), cut);
            ASSERT_TRUE(write == close || valueOf(*cutOf(markers[1])) == changed[1]);
            ASSERT_TRUE(table->modified() && table->flush());
        }
        ASSERT_TRUE(table->reOpen());
        for (std::size_t i = 0; i < changed.size(); ++i)
            ASSERT_TRUE(markers[i]->displace() && valueOf(*cutOf(markers[i])) == changed[i]);
        ASSERT_EQ(stored(), changed);
    };
    for (const Write write : writes)
        for (const auto afterwards : {FailingFileMgr::eOnce, FailingFileMgr::eFromThenOn})
            for (const bool isFirst : {false, true})
            {
                reached_ = true;
                for (int call = 1; reached_ && !HasFailure(); ++call)
                {
                    SCOPED_TRACE(call);
                    failAt(call, afterwards, write, isFirst);
                }
            }
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
                             ghost("?") + shot;
    const std::size_t handleId = file.find("0000006437A1B2C05");
    const auto readAll = [&](const std::string& bytes)
    {
        ASSERT_TRUE(putFile(name(), bytes));
        bool whole = true, failed = true;
        const std::size_t count = decode(bytes, whole).size();
        whole = whole && (bytes.size() < file.size() || isId(bytes.substr(handleId, 17)));
        const Mw::Ptr<TagMarkerTable> table = open(failed);
        ASSERT_TRUE(failed || (whole && table->size() <= count));
        ASSERT_EQ(said().find("exception"), std::string::npos);
        ASSERT_TRUE(bytes != file || (!failed && table->size() == 2 && count == 3));
        // Nothing of it is lost.
        ASSERT_TRUE(table->flush());
        const Path kept = name() + L".unread-1";
        ASSERT_EQ(fileBytes(kept), failed ? bytes : "");
        disk_.remove(kept);
        ASSERT_TRUE(!table->modified() && table->displaceAll() && table->loadAll());
        if (bytes != file)
            return;
        ASSERT_EQ(cutOf(table->markers()[0])->next.demandAs<Shot>()->name, "take 7");
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
    Mw::Ptr<TagMarkerTable> table = open(3);
    ASSERT_TRUE(table->closeSwap(true));
    const std::size_t second = table->markers()[1]->storedPosition();
    std::string damaged = fileBytes(name());
    damaged[second] = '%';
    const std::string rest = damaged.substr(second);
    ASSERT_TRUE(putFile(name(), damaged));
    // The rest stays last, so that a new object is read the next time.
    for (const unsigned count : {1u, 2u})
    {
        bool failed = false;
        table = open(failed);
        EXPECT_TRUE(failed && table->size() == count);
        EXPECT_NE(said().find("TagMarkerTable::openSwap stream error:"), std::string::npos);
        const std::string before = fileBytes(name());
        table->intern(makeCut(9, "new"));
        failing_.failAt(1); // the copy
        EXPECT_FALSE(table->flush());
        failing_.failAt(0);
        EXPECT_TRUE(table->flush());
        EXPECT_EQ(fileBytes(name() + (count == 1 ? L".unread-1" : L".unread-2")), before);
        EXPECT_TRUE(fileBytes(name()).ends_with(rest));
    }
}

TEST_F(TagMarkerTableTest, objectsThatAskForEachOtherWhileTheyAreReadComeBack)
{
    int read = 0;
    Cut::onUnpack = [&](const Cut& cut) { (++read, cut.next.realize()); };
    // Longer chains end at the limit that objects within objects have.
    for (const int count : {40, 240})
    {
        const Mw::Ptr<TagMarkerTable> table = open(count);
        const std::vector<Mw::Ptr<TagMarker>> markers = table->markers();
        for (std::size_t i = 0; i < markers.size(); ++i)
            cutOf(markers[i])->next = TagBase(markers[(i + 1) % markers.size()]);
        ASSERT_TRUE(table->displaceAll());
        read = 0;
        EXPECT_TRUE(markers[0]->demand());
        const std::string failure = " Object demand failure.\n"; // of the first by the last
        EXPECT_EQ(said().substr(0, count == 40 ? std::string::npos : failure.size()), failure);
        EXPECT_EQ(read, std::min<int>(count, StreamableTraitsBase::maxDepth));
        for (std::size_t i = 0; i < markers.size(); ++i)
            EXPECT_EQ(cutOf(markers[i])->number, int(i));
        disk_.remove(name());
    }
}

TEST_F(TagMarkerTableTest, openingThatFailsCostsNothingThatIsStored)
{
    Mw::Ptr<TagMarkerTable> table = open(3);
    ASSERT_TRUE(table->closeSwap(true));
    const std::string bytes = fileBytes(name());
    FailingFileMgr failing(disk_, FailingFileMgr::eAllCalls);
    const OSReplacement<iFileMgr> replaced(failing);
    for (const auto behaviour : {iFile::eOpenExisting, iFile::eOpenAlways, iFile::eCreateNew})
    {
        // One after the other of the objects fails, then one after the other of the calls.
        bool reached = true;
        for (int n = -2; reached && !HasFailure(); ++n)
        {
            SCOPED_TRACE(n);
            failing.failAt(std::max(n, 0));
            Cut::onUnpack = [&](const Cut& cut) { cut.number == n + 2 ? throw std::bad_alloc() : void(); };
            bool failed = false;
            table = open(failed, behaviour);
            reached = failing.calls() >= n;
            failing.failAt(0);
            Cut::onUnpack = nullptr;
            table->intern(makeCut(3, "new"));
            const bool written = table->flush();
            ASSERT_TRUE(written ? stored().size() == 4 : !table->closeSwap(true) && fileBytes(name()) == bytes);
            ASSERT_TRUE(putFile(name(), bytes));
        }
    }
    // One that throws at another time is not read, and can be later.
    table = open();
    ASSERT_TRUE(table->displaceAll());
    Cut::onUnpack = [](const Cut&) { throw 1; };
    EXPECT_FALSE(table->markers()[0]->demand() || table->loadAll() || (table->closeSwap(false) && table->reOpen()));
    Cut::onUnpack = nullptr;
    EXPECT_TRUE(table->reOpen() && table->loadAll() && !table->modified());
}

TEST_F(TagMarkerTableTest, whatObjectsDoWhileTheirTableWorksWithThemHarmsNothing)
{
    const Mw::Ptr<TagMarkerTable> table = open(6);
    ASSERT_TRUE(table->displaceAll());
    const std::vector<Mw::Ptr<TagMarker>> markers = table->markers();
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
    const std::uint64_t position = markers[1]->demand() ? table->swapFile()->position() : 0;
    EXPECT_TRUE(markers[0]->demand() && refused == 10 && table->swapFile()->position() == position);
    Cut::onUnpack = nullptr;
    cutOf(markers[0])->gain = 1;
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
    EXPECT_EQ(table->size(), 7u);
    int number = 0;
    for (const Mw::Ptr<TagMarker>& marker : table->markers())
    {
        EXPECT_FALSE(marker->held());
        EXPECT_TRUE(cutOf(marker)->number == number++ && cutOf(marker)->name == "told");
    }
    Shot::onDisplace = [](Shot& shot) { shot.name = "again"; };
    EXPECT_TRUE(!markers[1]->purge() && markers[1]->displace() && cutOf(markers[1])->name == "again");
}

TEST_F(TagMarkerTableTest, twinsAndObjectsWithoutIdKeepTheirPlaces)
{
    const std::string id = "0000006437A1B2C05";
    std::string file;
    for (char number = 0; number < 4; ++number)
        file += taggable(number < 2 ? id : "", "Taggable.Shot", {"Sh", std::string{number, 0, 0, 0, 0}});
    ASSERT_TRUE(putFile(name(), file));
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
    const Mw::Ptr<TagMarkerTable> table = open(8);
    ASSERT_TRUE(table->flush());
    const std::vector<Mw::Ptr<TagMarker>> markers = table->markers();
    std::atomic<int> wrong = 0;
    const auto ask = [&]
    {
        for (std::size_t i = 0; i < 100 * markers.size(); ++i)
        {
            const Mw::Ptr<TagMarker>& marker = markers[i % markers.size()];
            const Mw::Ptr<Cut> cut = cutOf(marker);
            wrong += !cut || cut->number != int(i % markers.size()) || marker->table() != table.get() ||
                     marker->storedLength() == 0 || marker->tagTypeId().empty() || table->extension() != L".odb" ||
                     table->readOnly();
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
    std::atomic<int> wrong = 0;
    const auto comeAndGo = [&](std::uint32_t thread)
    {
        std::minstd_rand random{thread};
        std::vector<Mw::Ptr<TagMarker>> markers(1000);
        for (unsigned i = 0; i < 20000; ++i)
        {
            const std::size_t at = random() % (i < 15000 ? markers.size() : 1 + i % 7);
            const IdStamp id(thread, 1, std::uint32_t(at));
            wrong += markers[at] && (markers[at]->id() != id || markers[at]->held());
            markers[at] = random() % 3 != 0 ? Mw::Ptr<TagMarker>(new TagMarker(id)) : nullptr;
        }
    };
    std::thread other(comeAndGo, 1);
    comeAndGo(2);
    other.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(TagMarkerTableTest, objectThatCannotBePackedKeepsTheFileFromBeingWritten)
{
    const Mw::Ptr<TagMarkerTable> table = open(1);
    const Mw::Ptr<TagMarker> marker = table->markers()[0];
    EXPECT_TRUE(table->flush());
    const std::string before = fileBytes(name());
    int displaced = 0;
    Shot::onDisplace = [&](Shot&) { ++displaced; };
    cutOf(marker)->name = "lost";
    Cut::onPack = [](const Cut&, PStream& stream) { stream.append("no room"); };
    EXPECT_FALSE(table->flush() || marker->displace());
    EXPECT_NE(said().find("can't be packed: no room"), std::string::npos);
    Cut::onPack = [](const Cut&, PStream&) { throw 1; };
    EXPECT_FALSE(table->flush() || marker->displace());
    EXPECT_TRUE(fileBytes(name()) == before && displaced == 0);
    Cut::onPack = nullptr;
    EXPECT_TRUE(table->closeSwap(true) && table->closeSwap(true) && !marker->held() && displaced == 1);
    EXPECT_FALSE(marker->demand()); // closed
    EXPECT_TRUE(table->reOpen() && marker->demand());
}

TEST_F(TagMarkerTableTest, edgesOfTables)
{
    bool failed = false;
    EXPECT_EQ(open(failed, iFile::eOpenExisting)->swapFile(), nullptr);
    EXPECT_TRUE(failed);
    EXPECT_NE(said().find("TagMarkerTable::openSwap failed to open file:/home/"), std::string::npos);

    const Mw::Ptr<TagMarkerTable> table = open(1);
    const Mw::Ptr<TagMarker> marker = table->markers()[0];
    EXPECT_FALSE(table->intern(Mw::Ptr<TagMarker>()));
    EXPECT_FALSE(table->destroyMarker(IdStamp()) || table->find(IdStamp()));
    const Mw::Ptr<TagMarker> empty = table->intern(Mw::Ptr<TagMarker>(new TagMarker(*table, IdStamp())));
    EXPECT_FALSE(empty->demand() || empty->isPersistant());
    table->readOnly(true);
    const int calls = failing_.calls();
    EXPECT_FALSE(table->flush() || table->displaceAll());
    EXPECT_TRUE(table->closeSwap(true) && marker->held() && failing_.calls() == calls);
    table->readOnly(false);
    EXPECT_TRUE(table->flush());

    // A stamp that is there twice leads to the first, also of objects of another table.
    Mw::Ptr<TagMarkerTable> other(new TagMarkerTable(folder_, Cookie('P', 8, 0, 5), L"odb"));
    EXPECT_EQ(other->intern(marker), marker);
    const Mw::Ptr<TagMarker> twin = other->intern(Mw::Ptr<TagMarker>(new TagMarker(*other, marker->id())));
    twin->instance(makeCut(2, "two"));
    EXPECT_EQ(other->find(marker->id()), marker);
    EXPECT_TRUE(other->destroyMarker(twin) && other->find(marker->id()) == marker);

    // A table that is gone leaves handles without objects.
    const TagBase handle(marker);
    EXPECT_TRUE(other->displaceAll() && handle.swapped() && handle.realize());
    other.reset();
    EXPECT_FALSE(handle.realize() || handle.swapped() || marker->table() != nullptr);
}
