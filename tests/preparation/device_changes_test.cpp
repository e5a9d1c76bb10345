// What the preparation changes on a handheld, for every language and on both sides of every version
// that matters: the whole content of the device, and every call in its order, against the tables of
// the handheld's maker.

#include "preparation/device_changes.h"

#include "images/header.h"
#include "testing/device_facts.h"
#include "testing/wizard_fixture.h"

#include <algorithm>
#include <set>

namespace {

using namespace device_model;

const VersionFacts Versions[] = {
    {"1.39", false, 0xAE000000}, {"1.40", false, 0xAE000000}, {"1.41", true, 0xAE000000},
    {"1.59", true, 0xAE000000},  {"1.60", true, 0xB2000000},  {"2.00", true, 0xB2000000},
    {"none", false, 0xAE000000},
};
const VersionFacts& Early = Versions[1];
const VersionFacts& Late = Versions[5];

const char* const Languages[] = {"ENG", "JPN", "FRE", "GER", "ITA", "SPA", "CHT", "CHS", "DUT"};

class DeviceChanges : public HandheldTest {
protected:
    // A handheld with nothing of the language on it, or with its folders and some links.
    void PrepareHandheld(const std::string& language, bool furnished,
                         const std::string& refused = "") {
        InsertNewHandheld(refused);
        const MenuFacts* menu = furnished ? MenuOf(language) : nullptr;
        if (!menu)
            return;
        for (const std::string& folder :
             {menu->programs, menu->settings, menu->pim, menu->utilities})
            std::filesystem::create_directories(DeviceFile(folder));
        for (const std::string& link : {In(menu->programs, menu->ostrel), In(menu->pim, "One.lnk"),
                                        In(menu->pim, "Two.lnk"), In(menu->pim, "Three.txt")})
            WriteFileBytes(DeviceFile(link), "of " + link);
    }
    // Puts a new handheld into the cradle: a copy of the first one as it was made.
    void InsertNewHandheld(const std::string& refused) {
        const auto fresh = Home().Path("fresh");
        if (!std::filesystem::exists(fresh)) {
            Connect();
            std::filesystem::copy(Home().Device(), fresh, std::filesystem::copy_options::recursive);
        }
        CeRapiUninit();
        Device().TakeOut();
        std::filesystem::remove_all(Home().Device());
        std::filesystem::copy(fresh, Home().Device(), std::filesystem::copy_options::recursive);
        Device().RestartHandheld({"--refuse-call", refused});
        ConnectRapi();
    }
    std::filesystem::path DeviceFile(std::string path) {
        std::ranges::replace(path, '\\', '/');
        return Device().File(path.substr(1));
    }

    // Changes the device, and compares its content then, and the calls, with the steps.
    void ExpectChange(const std::string& language, const VersionFacts& version,
                      const std::string& refused = "") {
        Content expected = Read(Home().Device());
        const std::vector<std::string> calls =
            Apply(StepsFor(language, version), refused, expected);
        const std::size_t before = Device().Handheld().Lines().size();
        SetText(State.Image.ImageLanguage, language);
        State.Image.ImageVersion = VersionNumber(version.text);
        ChangeDevice();
        CeDeleteFile(u"\\the end");
        Device().Handheld().ExpectLine("DeleteFile \\the end");
        ExpectSame(expected, Read(Home().Device()));
        EXPECT_EQ(calls, CallsSince(before));
    }
    std::vector<std::string> CallsSince(std::size_t before) {
        const auto lines = Device().Handheld().Lines();
        std::vector<std::string> calls;
        for (std::size_t at = before; at < lines.size(); ++at) {
            if (lines[at].starts_with("RAPI ") && !lines[at].starts_with("RAPI   ") &&
                lines[at] != "RAPI Hello")
                calls.push_back(lines[at].substr(5));
            if (lines[at].starts_with("RAPI DeleteFile \\the end")) {
                calls.pop_back();
                break;
            }
        }
        return calls;
    }
    static void ExpectSame(const Content& expected, const Content& found) {
        for (const auto& [name, value] : expected) {
            const auto entry = found.find(name);
            if (entry == found.end())
                ADD_FAILURE() << "missing: " << name;
            else
                EXPECT_EQ(value, entry->second) << name;
        }
        for (const auto& [name, value] : found)
            EXPECT_TRUE(expected.contains(name)) << "too much: " << name;
    }
};

TEST_F(DeviceChanges, equal_the_tables_from_every_start_for_every_language_and_version) {
    for (const std::string language : Languages) {
        for (const VersionFacts& version : Versions) {
            SCOPED_TRACE(language + " " + version.text);
            PrepareHandheld(language, false);
            ExpectChange(language, version);
        }
        PrepareHandheld(language, true);
        for (const VersionFacts& version : Versions) {
            SCOPED_TRACE(language + " " + version.text);
            for (const VersionFacts* one : {&version, &Early, &version, &Late, &version})
                ExpectChange(language, *one);
        }
    }
}

TEST_F(DeviceChanges, go_on_after_every_single_step_that_the_device_refuses) {
    for (const VersionFacts* version : {&Early, &Late}) {
        std::set<std::string> calls;
        for (const Step& step : StepsFor("FRE", *version))
            calls.insert(DecidingCall(step));
        EXPECT_GT(calls.size(), 35U);
        for (const std::string& call : calls) {
            SCOPED_TRACE(call);
            PrepareHandheld("FRE", true, call);
            ExpectChange("FRE", version == &Early ? Late : Early, call);
            ExpectChange("FRE", *version, call);
        }
    }
}

TEST_F(DeviceChanges, find_their_rows_in_any_case_and_leave_no_handle_open) {
    PrepareHandheld("FRE", true);
    const Content before = Read(Home().Device());
    ExpectChange("FRE", Late);
    const Content upper = Read(Home().Device());
    PrepareHandheld("FRE", true);
    SetText(State.Image.ImageLanguage, "fre");
    State.Image.ImageVersion = VersionNumber(Late.text);
    ChangeDevice();
    ExpectSame(upper, Read(Home().Device()));
    EXPECT_NE(before, upper);
    ExpectNoOpenHandles();
}

} // namespace
