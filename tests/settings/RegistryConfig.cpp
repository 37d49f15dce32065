#include "misc/settings/RegistryConfig.h"

#include "OS/testing/MemorySettings.h"
#include "misc/base/TextFile.h"
#include "misc/identity/Cookie.h"
#include "misc/identity/IdStamp.h"
#include "misc/settings/PrefVal.h"
#include "settings/Support.h"

#include <cfloat>
#include <climits>
#include <cmath>

namespace
{

class Registry : public Settings
{
protected:
    RegistryConfig over(const std::string& legacy)
    {
        return RegistryConfig(store_, legacy.empty() ? LightweightString<wchar_t>() : TempFolder::wideOf(file(legacy)));
    }

    std::string stored(const char* key, const char* section = "")
    {
        return store_->getValue(key, "none", section).c_str();
    }

    Mw::Ptr<MemorySettings> store_ = Mw::makePtr<MemorySettings>();
};

} // namespace

TEST_F(Registry, valuesReadBackAsTheyWereSet)
{
    RegistryConfig config = over("");
    const auto check = [&](const auto& value, const auto& dflt)
    {
        EXPECT_EQ(config.setValue("k", value, "s\\t"), iSettings::eStored);
        EXPECT_EQ(config.getValue("k", dflt, "s\\t"), value);
        EXPECT_EQ(config.getValue("k", dflt, ""), dflt);
        EXPECT_EQ(config.getValue("K", dflt, "s\\t"), dflt) << "names in the store mind case";
    };
    for (const int value : {0, INT_MAX, INT_MIN})
        check(value, 42);
    for (const double value : {0.1, -0.0, 1e300, DBL_MIN, 5e-324, 1.0 / 3, HUGE_VAL})
        check(value, 42.0);
    check(false, true);
    check(LightweightString<char>("two\nlines"), LightweightString<char>("?"));
    check(Cookie('V', 5, 0, 12), video_black);
    check(IdStamp(1, 2, 3), IdStamp(4, 5, 6));
    EXPECT_EQ(config.getValue("none", IdStamp(7, 0, 7), ""), IdStamp(0, 0, 0)) << "defaults go through text, too";
    config.setValue("k", "text", "");
    EXPECT_EQ(stored("k"), "text") << "no pointer is a bool";
    store_->failWith(iSettings::eBusy);
    EXPECT_EQ(config.setValue("k", 1, ""), iSettings::eBusy);
}

TEST_F(Registry, textsThatAreNoValueOfTheTypeReadAsTold)
{
    const RegistryConfig config = over("");
    // With true as the default of a bool.
    const std::tuple<const char*, int, double, bool> rows[] = {{"", 0, 0, true},
                                                               {"12 frames", 12, 12, true},
                                                               {"false", 0, 0, false},
                                                               {"99999999999", INT_MAX, 99999999999.0, true},
                                                               {"  -2.5", -2, -2.5, true}};
    for (const auto& [text, asInt, asDouble, asBool] : rows)
    {
        store_->setValue("k", text, "");
        EXPECT_EQ(config.getValue("k", 7, ""), asInt) << text;
        EXPECT_EQ(config.getValue("k", 7.0, ""), asDouble) << text;
        EXPECT_EQ(config.getValue("k", true, ""), asBool) << text;
    }
}

TEST_F(Registry, legacyFileBeatsTheStoreAtTheRoot)
{
    RegistryConfig config = over("{\na:int 5\nempty\nflag:bool true\n");
    EXPECT_EQ(config.sourceOf("A", ""), RegistryConfig::eFromLegacyFile) << "names in the file don't mind case";
    EXPECT_EQ(config.setValue("a", 7, ""), iSettings::eStored);
    EXPECT_EQ(config.getValue("a", "1", "") + stored("a").c_str(), "57");
    EXPECT_TRUE(config.getValue("flag", false, "")) << "the file had no end, and what was read counts";
    EXPECT_EQ(config.sourceOf("a", "section"), RegistryConfig::eFromDefault);
    config.setValue("empty", "stored", "");
    EXPECT_EQ(config.sourceOf("empty", ""), RegistryConfig::eFromStore) << "an empty value doesn't count";
}

TEST_F(Registry, sectionIsExportedAndNeverImported)
{
    RegistryConfig config = over("{\na 1\n}");
    config.setValue("b", "x=y", "s");
    config.setValue("a", 2, "s");
    config.setValue("lines", "1\n2", "s");
    TextFile text;
    config.exportTo(text, "s");
    EXPECT_TRUE(text.numLines() == 2 && text[0] == "a=2" && text[1] == "b=x=y");
    EXPECT_EQ(said(), "0.000    : A setting with more than one line was not exported: lines\n");
    config.setValue("a", 3, "s");
    config.importFrom(text, "s", true);
    EXPECT_EQ(stored("a", "s"), "3");
}

TEST_F(Registry, globalAndUserSettingsFollowTheDesktop)
{
    constexpr PrefVal pref("Loop playback", true);
    for (int i = 0; i < 2; ++i)
    {
        TestDesktop desktop;
        const OSReplacement<iDesktop> replaced(desktop);
        EXPECT_EQ(UserConfig().getValue("k", -1, "s") + GlobalConfig().getValue("k", -1, "s"), -2);
        UserConfig().setValue("k", 1, "s");
        GlobalConfig().setValue("k", 2, "s");
        EXPECT_EQ(desktop.settings(L"userconfig.dat", iDesktop::eUserSettings)->getValue("k", "", "s"), "1");
        EXPECT_EQ(desktop.settings(L"config.dat", iDesktop::eMachineSettings)->getValue("k", "", "s"), "2");
        EXPECT_TRUE(pref.get() && pref.set(false) && !pref.get());
    }
    desktop_.settings(L"userconfig.dat", iDesktop::eUserSettings)->failWith(iSettings::eFailed);
    EXPECT_TRUE(!pref.set(false) && pref.get());
}
