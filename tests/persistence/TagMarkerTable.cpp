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

using Value = std::pair<std::string, std::string>; // the id of a cut, and the bodies of its own two layers
using Values = std::vector<Value>;

Value valueOf(const Cut& cut)
{
    const std::string next = cut.next.gid().asString().c_str();
    std::string bodies = stored::bytesOf(static_cast<unsigned>(cut.number), 4) + cut.name.c_str() + '\0';
    bodies.append(reinterpret_cast<const char*>(&cut.gain), sizeof cut.gain);
    return {cut.id().asString().c_str(), bodies + stored::object(2, "P", {{"P", next + '\0'}})};
}

std::string taggable(unsigned version, const std::string& hierarchy, const std::string& id, const std::string& kind,
                     std::vector<stored::Layer> layers)
{
    layers.insert(layers.begin(), {"T", id + '\0' + kind + '\0'});
    return stored::object(version, hierarchy, layers);
}

std::string ghost(const char* text)
{
    return taggable(2, "T.Z", "0000000A00000001F", "Taggable.Ghost", {{"Z", text}});
}

class TagMarkerTableTest : public SwapTableTest
{
protected:
    // The table's own objects in a file.
    Values stored(const Path& path)
    {
        Values values;
        for (const Object& object : decode(fileBytes(path)))
            if (object.hierarchy != "T.Z")
                values.emplace_back(object.id, object.bodies.at(2) + object.bodies.at(3));
        return values;
    }
    Values stored() { return stored(name()); }

    MemoryFileMgr disk_;
    FailingFileMgr failing_{disk_, FailingFileMgr::eAllChanges | FailingFileMgr::eRead};
    const OSReplacement<iFileMgr> replaced_{failing_};
};

// Random operations beside a plain list of what the table holds and one of what its file does.
class TableModel : public TagMarkerTableTest
{
protected:
    std::size_t below(std::size_t end) { return random_() % end; }
    std::size_t any() { return below(values_.size()); }
    Mw::Ptr<TagMarker> markerAt(std::size_t at) { return table_->find(IdStamp(values_[at].first.c_str())); }

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
        const Mw::Ptr<TagMarker> next = table_->find(cut->next.gid());
        ASSERT_EQ(cut->next.demandAs<Cut>(), next ? cutOf(next) : nullptr);
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
        ASSERT_TRUE(below(2) == 0 ? table_->destroyMarker(marker->id()) : (marker->destroy(), true));
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
        if (meanwhile == 0)
            destroy(any());
        if (meanwhile <= 1)
            checkModified();
        else if (meanwhile == 2)
            setStored(table_->flush());
        table_->purge();
        ASSERT_TRUE(table_->swapFile() == nullptr && table_->reOpen());
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
            table_->pId(Cookie('P', 7 + static_cast<int>(below(3)), 0, 5));
        else
            setStored(what < 96 ? table_->displaceAll() : table_->flush());
        ASSERT_EQ(table_->size(), values_.size());
        ASSERT_TRUE(below(6) != 0 || stored() == stored_);
    }

    std::minstd_rand random_{11};
    Mw::Ptr<TagMarkerTable> table_;
    TagMarkerTable other_{folder_, Cookie('P', 10, 0, 5), L"odb"};
    Values values_, stored_;
};

} // namespace

TEST_F(TableModel, tableAndFileHoldWhatTheyWereGivenWhateverHappens)
{
    ASSERT_TRUE(putFile(name(), ghost("first")));
    table_ = open();
    intern();
    ASSERT_TRUE(table_->flush() && putFile(name(), fileBytes(name()) + ghost("last")));
    table_ = open();
    setStored(true);
    for (int i = 0; i < 12000; ++i)
    {
        step();
        ASSERT_FALSE(HasFailure()) << i;
    }
    EXPECT_TRUE(table_->flush() && fileBytes(name()).find(ghost("last"), ghost("first").size()) != std::string::npos);
}

TEST_F(TagMarkerTableTest, failedWriteLeavesFileMarkersAndPlaces)
{
    using Write = bool (*)(TagMarkerTable&);
    const Write close = [](TagMarkerTable& table) { return table.closeSwap(true); };
    const Write writes[] = {[](TagMarkerTable& table) { return table.flush(); },
                            [](TagMarkerTable& table) { return table.displaceAll(); }, close,
                            [](TagMarkerTable& table) { return table.markers()[0]->displace(); }};
    const auto fails = [&](int call, FailingFileMgr::eAfterwards afterwards, Write write)
    {
        EXPECT_TRUE((disk_.remove(name()), disk_.syncDirectory(folder_)));
        const Mw::Ptr<TagMarkerTable> table = open(3, "old");
        EXPECT_TRUE(table->displaceAll());
        const std::vector<Mw::Ptr<TagMarker>> markers = table->markers();
        const Values old = stored();
        const Mw::Ptr<Cut> cut = cutOf(markers[0]);
        cut->name = "newer";
        const Values changed{valueOf(*cut), old[1], old[2]};
        Values last = changed;
        failing_.failAt(call, afterwards);
        const bool written = write(*table), reached = failing_.calls() >= call;
        failing_.failAt(0);
        // Where the disk is gone, the machine stops as well.
        for (const bool machineStops : {false, afterwards == FailingFileMgr::eFromThenOn})
        {
            if (machineStops)
                disk_.loseUnflushed();
            const Values found = stored();
            EXPECT_TRUE(found == changed || (!written && found == old));
        }
        if (!written)
        {
            EXPECT_TRUE(markers[0]->held() == cut && (write == close || valueOf(*cutOf(markers[1])) == old[1]));
            EXPECT_TRUE(table->modified() || stored() == changed);
            // The file that is read may be the new one, which has other places.
            EXPECT_TRUE(table->destroyMarker(markers[1]) && table->closeSwap(false) && table->reOpen());
            last.erase(last.begin() + 1);
            EXPECT_TRUE(table->flush());
        }
        for (const std::size_t i : {0u, 2u})
            EXPECT_TRUE(table->reOpen() && markers[i]->displace() && valueOf(*cutOf(markers[i])) == changed[i]);
        EXPECT_EQ(stored(), last);
        return reached;
    };
    for (const Write write : writes)
        for (const auto afterwards : {FailingFileMgr::eOnce, FailingFileMgr::eFromThenOn})
            for (int call = 1; fails(call, afterwards, write); ++call)
                ASSERT_FALSE(HasFailure()) << call;
}

// The bytes that docs/formats.md shows, behind one that has a handle to it and one of a class that nobody knows.
TEST_F(TagMarkerTableTest, fileIsThatOfTheFormatAndOpensAsFarAsItIsWhole)
{
    const std::string shot("$\0\x02\0\x05\0\0\0\x49\0\0\0T.Sh\0"
                           "T\0\x01\0\x20\0\0\0\x38\0\0\0"
                           "0000006437A1B2C05\0Taggable.Shot\0"
                           "Sh\0\x01\0\x0b\0\0\0\x0b\0\0\0\x19\0\0\0take 7\0",
                           85);
    const std::string handle = stored::object(2, "P", {{"P", std::string("0000006437A1B2C05\0", 18)}});
    const std::string file = taggable(2, "T.Sh.Cu", "0000006437A1B2C04", "Taggable.Shot.Cut",
                                      {{"Sh", std::string("\1\0\0\0a\0", 6)}, {"Cu", std::string(8, '\0') + handle}}) +
                             ghost("?") + shot;
    const std::size_t handleId = file.find("0000006437A1B2C05");
    const auto readAll = [&](const std::string& bytes)
    {
        ASSERT_TRUE(putFile(name(), bytes));
        bool failed = true;
        const Mw::Ptr<TagMarkerTable> table = open(failed);
        // What was read is of the format.
        ASSERT_TRUE(failed || table->size() <= decode(bytes).size());
        ASSERT_TRUE(failed || bytes.size() < file.size() || isId(bytes.substr(handleId, 17)));
        // Nothing of it is lost.
        ASSERT_TRUE(table->flush());
        const Path kept = name() + L".unread-1";
        ASSERT_EQ(fileBytes(kept), failed ? bytes : "");
        disk_.remove(kept);
        ASSERT_TRUE(!table->modified() && table->displaceAll() && table->loadAll());
        ASSERT_TRUE(bytes != file || cutOf(table->markers()[0])->next.demandAs<Shot>()->name == "take 7");
    };
    readAll(file);
    const stored::LittleMemory little;
    for (std::size_t cut = 0; cut < file.size() && !HasFailure(); ++cut)
        readAll(file.substr(0, cut));
    for (std::size_t bit = 0; bit < 8 * file.size() && !HasFailure(); ++bit)
    {
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
        const std::string before = fileBytes(name());
        table->intern(makeCut(9, "new"));
        failing_.failAt(1); // the copy
        EXPECT_FALSE(table->flush());
        EXPECT_TRUE(table->flush() && fileBytes(name()).ends_with(rest));
        EXPECT_EQ(fileBytes(name() + (count == 1 ? L".unread-1" : L".unread-2")), before);
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
        for (int n = -2; reached; ++n)
        {
            failing.failAt(std::max(n, 0));
            Cut::onUnpack = [&](const Cut& cut) { cut.number == n + 2 ? throw std::bad_alloc() : void(); };
            bool failed = false;
            table = open(failed, behaviour);
            reached = failing.calls() >= n;
            failing.failAt(0);
            Cut::onUnpack = nullptr;
            table->intern(makeCut(3, "new"));
            const bool written = table->flush();
            ASSERT_TRUE(written ? stored().size() == 4 : !table->closeSwap(true) && fileBytes(name()) == bytes) << n;
            ASSERT_TRUE(putFile(name(), bytes));
        }
    }
}

TEST_F(TagMarkerTableTest, whatObjectsDoWhileTheirTableWorksWithThemHarmsNothing)
{
    const Mw::Ptr<TagMarkerTable> table = open(3);
    ASSERT_TRUE(table->displaceAll());
    const std::vector<Mw::Ptr<TagMarker>> markers = table->markers();
    // Of those that are read or packed none gets the file replaced.
    int refused = 0;
    const auto meddle = [&](const Cut& cut)
    {
        if (cut.number == 2)
            return;
        markers[2]->instance(makeCut(2, "changed"));
        refused += !table->flush() + !table->flush(L"/home/copy") + !markers[2]->displace() + !table->closeSwap(true) +
                   !table->reOpen();
        table->init();
    };
    Cut::onUnpack = meddle;
    EXPECT_TRUE(markers[0]->demand() && markers[1]->demand() && refused == 10);
    Cut::onUnpack = nullptr;
    cutOf(markers[0])->gain = 1;
    Cut::onPack = [&](const Cut& cut, PStream&) { meddle(cut); };
    EXPECT_TRUE(table->flush() && refused >= 20 && table->size() == 3);
    Cut::onPack = nullptr;
    EXPECT_TRUE(!table->modified() && table->loadAll());
    // What happens when objects hear that they leave is stored.
    Shot::onDisplace = [&](Shot& shot)
    {
        if (shot.number == 2)
            table->intern(makeCut(3, "late"));
        shot.name = "told";
    };
    EXPECT_TRUE(table->displaceAll());
    Shot::onDisplace = nullptr;
    EXPECT_EQ(table->size(), 4u);
    for (const Mw::Ptr<TagMarker>& marker : table->markers())
        EXPECT_TRUE(!marker->held() && cutOf(marker)->name == "told");
}

TEST_F(TagMarkerTableTest, twinsAndObjectsWithoutIdKeepTheirPlaces)
{
    const std::string id = "0000006437A1B2C05";
    std::string file;
    for (char number = 0; number < 4; ++number)
        file += taggable(number % 2 == 0 ? 1 : 2, "T.Sh", number < 2 ? id : "", "Taggable.Shot",
                         {{"Sh", std::string{number, 0, 0, 0, 0}}});
    ASSERT_TRUE(putFile(name(), file));
    const Mw::Ptr<TagMarkerTable> table = open();
    const std::vector<Mw::Ptr<TagMarker>> markers = table->markers();
    ASSERT_EQ(markers.size(), 4u);
    EXPECT_TRUE(table->destroyMarker(markers[0]) && table->destroyMarker(markers[3]));
    for (const std::size_t i : {1u, 2u})
        markers[i]->drop();
    EXPECT_TRUE(table->closeSwap(false) && table->reOpen());
    table->buildIdMap();
    EXPECT_EQ(table->find(IdStamp(id.c_str())), markers[1]);
    for (const std::size_t i : {1u, 2u})
        EXPECT_EQ(Mw::dynamicCast<Shot>(markers[i]->demand())->number, int(i));
    EXPECT_TRUE(table->flush() && decode(fileBytes(name())).size() == 2);
}

TEST_F(TagMarkerTableTest, anyThreadMayAskWhileOthersDisplace)
{
    const Mw::Ptr<TagMarkerTable> table = open(8);
    ASSERT_TRUE(table->flush());
    const std::vector<Mw::Ptr<TagMarker>> markers = table->markers();
    std::atomic<int> wrong = 0;
    const auto ask = [&]
    {
        // Markers of many blocks come and go meanwhile.
        std::vector<Mw::Ptr<TagMarker>> others(1000);
        for (unsigned i = 0; i < 5000; ++i)
        {
            Mw::Ptr<TagMarker>& marker = others[i * 7 % others.size()];
            wrong += marker && marker->held();
            marker = i % 3 != 0 ? Mw::Ptr<TagMarker>(new TagMarker(IdStamp(1, 1, i))) : nullptr;
            const Mw::Ptr<Cut> cut = cutOf(markers[i % 8]);
            wrong += !cut || cut->number != int(i % 8) || markers[i % 8]->storedLength() == 0;
        }
    };
    std::thread first(ask), second(ask);
    for (int round = 0; round < 30; ++round)
        wrong += !(round % 3 == 0 ? table->displaceAll() : round % 3 == 1 ? table->flush() : markers[2]->displace());
    first.join();
    second.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(TagMarkerTableTest, objectThatCannotBePackedKeepsTheFileFromBeingWritten)
{
    const Mw::Ptr<TagMarkerTable> table = open(1);
    const Mw::Ptr<TagMarker> marker = table->markers()[0];
    EXPECT_TRUE(table->flush());
    const Values before = stored();
    cutOf(marker)->name = "lost";
    Cut::onPack = [](const Cut&, PStream& stream) { stream.append("no room"); };
    EXPECT_FALSE(table->flush() || marker->displace());
    EXPECT_NE(said().find("can't be packed: no room"), std::string::npos);
    Cut::onPack = [](const Cut&, PStream&) { throw 1; };
    EXPECT_FALSE(table->flush() || marker->displace());
    EXPECT_EQ(stored(), before);
}

TEST_F(TagMarkerTableTest, bytesThatWereReadLastGiveWayToOthers)
{
    const Mw::Ptr<TagMarkerTable> table = open(90, std::string(100'000, 'n').c_str()); // of which 83 have room
    ASSERT_TRUE(table->displaceAll());
    const std::vector<Mw::Ptr<TagMarker>> markers = table->markers();
    for (std::size_t i = 0; i < 2 * markers.size(); ++i)
    {
        const Mw::Ptr<Cut> cut = cutOf(markers[i % 90]);
        ASSERT_TRUE(cut && cut->number == int(i % 90));
        markers[i % 90]->drop();
    }
}

TEST_F(TagMarkerTableTest, edgesOfTables)
{
    bool failed = false;
    EXPECT_TRUE(!open(failed, iFile::eOpenExisting)->swapFile() && failed);
    const Mw::Ptr<TagMarkerTable> table = open(1);
    const Mw::Ptr<TagMarker> marker = table->markers()[0];
    table->readOnly(true);
    const int calls = failing_.calls();
    EXPECT_FALSE(table->flush() || table->displaceAll());
    EXPECT_TRUE(table->closeSwap(true) && marker->held() && failing_.calls() == calls);
    table->readOnly(false);

    // A table that is gone leaves handles without objects.
    Mw::Ptr<TagMarkerTable> other(new TagMarkerTable(folder_, Cookie('P', 8, 0, 5), L"odb"));
    EXPECT_EQ(other->intern(marker), marker);
    const TagBase handle(marker);
    EXPECT_TRUE(other->displaceAll() && handle.swapped() && handle.realize());
    other.reset();
    EXPECT_FALSE(handle.realize() || handle.swapped() || marker->table() != nullptr);
}
