// Every call by which the preparation changes a handheld, for every language and layout, compared
// with those in calls/: what is opened, written and deleted, in its order and with its content. On
// the handheld lies whatever the preparation looks for, so that no step is passed over.
//
// With ROM_WIZARD_RECORD in the environment the calls are written down anew. They reach somebody's
// handheld: read the difference line by line before it is committed.

#include "preparation/prepare.h"

#include "images/header.h"
#include "testing/wizard_fixture.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <set>

namespace {

using Calls = std::vector<std::string>;

constexpr char Early[] = "1.40";
constexpr char Late[] = "2.00";
const std::string Start = "CreateProcess \\Temp\\Harbel_Link.exe";

Calls Recorded(const std::string& name) {
    std::ifstream file(SOURCE_FOLDER "/tests/preparation/calls/" + name + ".txt");
    Calls calls;
    for (std::string line; std::getline(file, line);)
        calls.push_back(line);
    return calls;
}

// Those that have nothing to do with the file, folder, key or value; errors are no calls.
Calls Without(const std::string& subject, Calls calls) {
    std::erase_if(calls, [&](const std::string& call) {
        return call.starts_with("  ") || call.find(subject) != std::string::npos;
    });
    return calls;
}

// What the call is about: all that may be missing without it. Of a listing, and of a deletion that
// may be part of one, that is the whole folder.
std::string SubjectOf(const std::string& call) {
    const std::string subject = call.substr(call.find_first_not_of('\\', call.find(' ') + 1));
    if (call.starts_with("Find") || call.starts_with("DeleteFile"))
        return subject.substr(0, subject.rfind('\\'));
    if (call.starts_with("WriteFile")) // without the number of bytes
        return subject.substr(0, subject.rfind(' '));
    return subject.substr(0, subject.find(" -> "));
}

void ExpectSame(const Calls& expected, const Calls& found) {
    const auto differing = std::ranges::mismatch(expected, found);
    EXPECT_TRUE(expected == found)
        << "line " << differing.in1 - expected.begin() + 1
        << "\n  expected: " << (differing.in1 == expected.end() ? "the end" : *differing.in1)
        << "\n  found:    " << (differing.in2 == found.end() ? "the end" : *differing.in2);
}

class DeviceChanges : public HandheldTest {
protected:
    void SetUp() override {
        HandheldTest::SetUp();
        State.Run.UpgradeUnderway = true;
        State.Windows.MainWindow = OpenPlainWindow("wizard");
        Connect();
        std::filesystem::remove_all(Home().Path("new"));
        std::filesystem::copy(Home().Device(), Home().Path("new"), Recursively);
    }
    void TearDown() override {
        DestroyWindow(State.Windows.MainWindow);
        State.Windows.MainWindow = nullptr;
        HandheldTest::TearDown();
    }

    // The calls on a copy of that handheld, which does not start the flasher, and refuses the call.
    Calls CallsOn(const char* handheld, const std::string& language, const char* version,
                  const std::string& refused = "") {
        CeRapiUninit();
        Device().TakeOut();
        std::filesystem::remove_all(Home().Device());
        std::filesystem::copy(Home().Path(handheld), Home().Device(), Recursively);
        Device().RestartHandheld({"--refuse-program", "Harbel_Link.exe", "--refuse-call", refused});
        ConnectRapi();
        SetText(State.Image.ImageLanguage, language);
        State.Image.ImageVersion = VersionNumber(version);
        State.Run.SerialLinkSelected = std::string(version) != Late;
        PrepareDevice();
        Device().Handheld().ExpectLine("RAPI " + Start);
        Device().Handheld().ExpectLine("RAPI connection ended");
        Calls calls;
        for (const std::string& line : Device().Handheld().Lines()) {
            if (line.starts_with("RAPI ") && line != "RAPI Hello" &&
                !line.starts_with("RAPI connection"))
                calls.push_back(line.substr(5));
        }
        return calls;
    }

    // Makes a handheld that has every file and folder that the preparation looks for.
    void Furnish(const std::string& language, const char* version) {
        const std::regex file(R"((?:Create|Delete)File \\(.*?)(?:  .*)?)");
        const std::regex listing(R"(FindFirstFile \\(.*\\)\*\..*)");
        const auto furnished = Home().Path("furnished");
        std::filesystem::remove_all(furnished);
        std::filesystem::copy(Home().Path("new"), furnished, Recursively);
        const auto add = [&](std::string path) {
            std::ranges::replace(path, '\\', '/');
            WriteFileBytes(furnished / "files" / path, "old");
        };
        for (const std::string& call : CallsOn("new", language, version)) {
            std::smatch found;
            if (std::regex_match(call, found, file))
                add(found[1]);
            else if (std::regex_match(call, found, listing))
                for (const char* name : {"One.lnk", "Two.lnk", "Three.txt"})
                    add(found[1].str() + name);
        }
    }

    static constexpr auto Recursively = std::filesystem::copy_options::recursive;
};

TEST_F(DeviceChanges, are_those_of_every_language_and_layout) {
    for (const std::string language :
         {"ENG", "JPN", "FRE", "GER", "ITA", "SPA", "CHT", "CHS", "DUT"}) {
        for (const char* version : {Early, Late}) {
            const std::string name = language + (version == Late ? "-late" : "-early");
            SCOPED_TRACE(name);
            Furnish(language, version);
            const Calls calls = CallsOn("furnished", language, version);
            EXPECT_FALSE(Device().Handheld().Has("handles open"));
            if (std::getenv("ROM_WIZARD_RECORD")) {
                std::ofstream file(SOURCE_FOLDER "/tests/preparation/calls/" + name + ".txt");
                for (const std::string& call : calls)
                    file << call << '\n';
            }
            ExpectSame(Recorded(name), calls);
        }
    }
}

TEST_F(DeviceChanges, depend_on_two_versions_and_on_the_language_in_any_case) {
    const struct {
        const char *version, *recorded, *windowBase;
    } rows[] = {
        {"1.40", "FRE-early", "0xAE000000"}, {"1.39", "FRE-early", "0xAE000000"},
        {"none", "FRE-early", "0xAE000000"}, {"1.41", "FRE-late", "0xAE000000"},
        {"1.59", "FRE-late", "0xAE000000"},  {"1.60", "FRE-late", "0xB2000000"},
        {"2.00", "FRE-late", "0xB2000000"},
    };
    std::string furnished;
    for (const auto& [version, recorded, windowBase] : rows) {
        SCOPED_TRACE(version);
        if (furnished != recorded)
            Furnish("FRE", version);
        furnished = recorded;
        Calls expected = Without("arbel_", Recorded(recorded)); // the link has not to do with it
        for (std::string& call : expected) {
            if (call.find("WindowBase") != std::string::npos)
                call = call.substr(0, call.find("  ") + 2) + windowBase;
        }
        ExpectSame(expected, Without("arbel_", CallsOn("furnished", "fre", version)));
    }
}

TEST_F(DeviceChanges, go_on_after_every_single_call_that_the_device_refuses) {
    std::set<std::string> refused; // what both layouts do, in one of them
    for (const char* version : {Late, Early}) {
        const Calls recorded = Recorded(version == Early ? "FRE-early" : "FRE-late");
        Furnish("FRE", version);
        for (const std::string& line : Without(Start, recorded)) {
            const std::string call = line.substr(0, line.find("  "));
            if (!refused.insert(call).second)
                continue;
            SCOPED_TRACE(call);
            const Calls found = CallsOn("furnished", "FRE", version, call);
            ExpectSame(Without(SubjectOf(call), recorded), Without(SubjectOf(call), found));
            EXPECT_EQ(Start, found.at(found.size() - 2).substr(0, Start.size()));
            const bool staysOpen = call.find("Close") != std::string::npos;
            EXPECT_EQ(staysOpen, Device().Handheld().Has("handles open"));
        }
    }
    EXPECT_GT(refused.size(), 100U);
}

} // namespace
