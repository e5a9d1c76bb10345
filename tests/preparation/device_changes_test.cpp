// What the preparation changes on a handheld, for every language and on both sides of every version
// that matters: the whole content of the device, and every call in its order, against the tables of
// the handheld's maker, which stand here once more as plain data.

#include "preparation/device_changes.h"

#include "images/header.h"
#include "tests/device/wizard_place.h"
#include "tests/support/device_model.h"

#include <algorithm>
#include <set>

namespace {

using namespace device_model;

struct MenuFacts {
    const char* language;
    std::string programs, settings, main, pim, utilities, category;
    std::string marnetics, ledgerly, tavi1, tavi2, backup, ostrel;
};

const MenuFacts Menus[] = {
    {"ENG", "\\Windows\\Start Menu\\Programs", "\\Windows\\Start Menu\\Settings",
     "\\Norvan Menu\\Main", "\\Norvan Menu\\PIM", "\\Norvan Menu\\Utilities", "Utilities",
     "Marnetics.lnk", "Ledgerly.lnk", "Tavi One.lnk", "Tavi Two.lnk", "Backup.lnk", "Ostrel.lnk"},
    {"JPN", "\\Windows\\ｽﾀｰﾄ ﾒﾆｭｰ\\ﾌﾟﾛｸﾞﾗﾑ", "\\Windows\\ｽﾀｰﾄ ﾒﾆｭｰ\\ﾌﾟﾛｸﾞﾗﾑ", "\\Norvan Menu\\Main",
     "\\Norvan Menu\\PIM", "\\Norvan Menu\\Utilities", "Utilities", "Marnetics.lnk", "Ledgerly.lnk",
     "Tavi One.lnk", "Tavi Two.lnk", "Backup.lnk", "Ostrel.lnk"},
    {"FRE", "\\Windows\\Menu Démarrer\\Programmes", "\\Windows\\Menu Démarrer\\Paramètres",
     "\\Norvan Menu\\Groupe Principal", "\\Norvan Menu\\GIP", "\\Norvan Menu\\Utilitaires",
     "Utilitaires", "Marnetic.lnk", "Ledgerline.lnk", "Tavi One.lnk", "Tavi Two.lnk",
     "Sauvegarde.lnk", "Ostrelle.lnk"},
    {"GER", "\\Windows\\Startmenü\\Programme", "\\Windows\\Startmenü\\Einstellungen",
     "\\Norvan Menu\\Hauptgruppe", "\\Norvan Menu\\Pim", "\\Norvan Menu\\Utilities", "Utilities",
     "Marnetics.lnk", "Ledgerlein.lnk", "Tavi Eins.lnk", "Tavi Zwei.lnk", "Sichern.lnk",
     "Ostrel.lnk"},
    {"ITA", "\\Windows\\Start Menu\\Programmi", "\\Windows\\Start Menu\\Impostazioni",
     "\\Norvan Menu\\Principale", "\\Norvan Menu\\Pim", "\\Norvan Menu\\Utility", "Utility",
     "Marnetics.lnk", "Ledgerlino.lnk", "Tavi One.lnk", "Tavi Due.lnk", "Backup.lnk",
     "Ostrello.lnk"},
    {"SPA", "\\Windows\\Menú Inicio\\Programas", "\\Windows\\Menú Inicio\\Configuración",
     "\\Norvan Menu\\Principal", "\\Norvan Menu\\Pim", "\\Norvan Menu\\Utilidades", "Utilidades",
     "Marnetics.lnk", "Ledgerlito.lnk", "Tavi Unó.lnk", "Tavi Dós.lnk", "Copia de Seguridad.lnk",
     "Ostrelón.lnk"},
};

struct ButtonFacts {
    std::string language, folder, links[5], label;
};

const ButtonFacts Buttons[] = {
    {"CHT", "AppButtons", "行事曆", "連絡人", "Zenda", "Brisca", "錄音", "功能鍵"},
    {"CHS", "AppButtons", "日程表", "联系人", "Zenda", "Brisca", "录音", "按键"},
    {"JPN", "AppButtons", "予定表", "連絡先", "ｾﾞﾝﾀﾞ", "ﾌﾞﾘｽｶ", "ﾎﾞｲｽ ﾚｺｰﾀﾞｰ", "ﾎﾞﾀﾝ"},
    {"FRE", "BoutonsApp", "Calendrier", "Contacts", "Zenda", "Brisca", "Enregistrement", "Bouton"},
    {"GER", "AppButtons", "Kalender", "Kontakte", "Zenda", "Brisca", "Record", "Taste"},
    {"ITA", "PulsantiApp", "Calendario", "Contatti", "Zenda", "Brisca", "Voice Recorder",
     "Pulsante"},
    {"SPA", "BotonesApl", "Calendario", "Contactos", "Zenda", "Brisca", "Grabadora", "Botón"},
    {"", "AppButtons", "Calendar", "Contacts", "Zenda", "Brisca", "Record", "Button"},
};

const char* const Icons[] = {"\\windows\\calendar.exe, 0", "\\windows\\addrbook.exe, 0",
                             "\\windows\\Orlune.exe, 0", "\\windows\\Brisca.exe, 0",
                             "\\windows\\Tavi3.exe, 0"};

struct VersionFacts {
    const char* text;
    bool late;
    std::uint32_t windowBase;
};

const VersionFacts Versions[] = {
    {"1.39", false, 0xAE000000}, {"1.40", false, 0xAE000000}, {"1.41", true, 0xAE000000},
    {"1.59", true, 0xAE000000},  {"1.60", true, 0xB2000000},  {"2.00", true, 0xB2000000},
    {"none", false, 0xAE000000},
};
const VersionFacts& Early = Versions[1];
const VersionFacts& Late = Versions[5];

const char* const Languages[] = {"ENG", "JPN", "FRE", "GER", "ITA", "SPA", "CHT", "CHS", "DUT"};

const MenuFacts* MenuOf(const std::string& language) {
    for (const MenuFacts& menu : Menus) {
        if (language == menu.language)
            return &menu;
    }
    return nullptr;
}

std::string In(const std::string& folder, const std::string& name) { return folder + "\\" + name; }

std::string Started(int number, const char* program) {
    return std::to_string(number) + "#\"\\" + program + "\"";
}

void AddValues(const VersionFacts& version, std::vector<Step>& steps) {
    const auto number = [&](const char* key, const char* name, std::uint32_t value) {
        steps.push_back({Change::SetNumber, key, name, "", value});
    };
    const auto text = [&](const char* key, const char* name, const char* value) {
        steps.push_back({Change::SetText, key, name, value});
    };
    const char disk[] = "\\Drivers\\NvnDisk", power[] = "\\ControlPanel\\Power";
    number(disk, "WindowBase", version.windowBase);
    number(power, "Group", 1);
    if (!version.late) {
        text(power, "Redirect", "\\windows\\ctlpnl.exe powerg.cpl");
        steps.push_back({Change::RemoveKey, disk, "", ""});
        return;
    }
    text(power, "Redirect", "\\windows\\ctlpnl.exe MyCpl,5");
    number(disk, "Size", 0x2000000);
    text(disk, "Folder", "Norvan DISK");
    number(disk, "DisableInt", 0);
    number(disk, "OnBoard", 0);
    text(disk, "Dll", "NVNDSK.DLL");
    number(disk, "Index", 8);
}

void AddButtons(const std::string& language, std::vector<Step>& steps) {
    const ButtonFacts* facts = Buttons;
    while (!facts->language.empty() && facts->language != language)
        ++facts;
    for (int button = 0; button < 5; ++button) {
        const std::string digit = std::to_string(button + 1);
        const std::string key = "Software\\Microsoft\\Shell\\Keys\\40C" + digit;
        const std::string command = "\"\\Windows\\" + facts->folder + "\\" + facts->links[button] +
                                    ".lnk\"" + (button == 4 ? " -b" : "");
        steps.push_back({Change::SetText, key, "Default", command});
        steps.push_back({Change::SetText, key, "Name", facts->label + " " + digit});
        steps.push_back({Change::SetText, key, "Icon", Icons[button]});
        steps.push_back({Change::SetText, key, "ResetCmd", command});
        steps.push_back({Change::SetNumber, key, "Flags", "", 0});
    }
}

void AddEarlyMenu(const MenuFacts& menu, std::vector<Step>& steps) {
    const std::vector<Step> early = {
        {Change::Write, In(menu.programs, menu.marnetics), "",
         Started(29, "Windows\\Marnetics.exe")},
        {Change::Write, In(menu.settings, menu.ledgerly), "", Started(27, "Windows\\Ledgerly.exe")},
        {Change::Write, In(menu.settings, menu.tavi1), "", Started(24, "Windows\\Tavi1.exe")},
        {Change::Write, In(menu.settings, menu.tavi2), "", Started(25, "Windows\\Tavi2.exe")},
        {Change::DeleteLink, In(menu.programs, menu.backup), "", ""},
        {Change::DeleteLink, In(menu.programs, menu.ostrel), "", ""},
        {Change::RemoveFolder, menu.main, "", ""},
        {Change::Delete, In(menu.utilities, menu.marnetics), "", ""},
        {Change::Delete, In(menu.utilities, menu.backup), "", ""},
        {Change::SetText, "\\SOFTWARE\\Norvan\\Starter", "Category", menu.category},
    };
    steps.insert(steps.end(), early.begin(), early.end());
}

void AddLateMenu(const MenuFacts& menu, std::vector<Step>& steps) {
    const std::string saver = Started(29, "Windows\\Sarvel.exe");
    const std::vector<Step> late = {
        {Change::DeleteLink, In(menu.programs, menu.marnetics), "", ""},
        {Change::DeleteLink, In(menu.settings, menu.ledgerly), "", ""},
        {Change::DeleteLink, In(menu.settings, menu.tavi1), "", ""},
        {Change::DeleteLink, In(menu.settings, menu.tavi2), "", ""},
        {Change::Write, In(menu.programs, menu.backup), "", saver},
        {Change::MakeFolder, menu.main, "", ""},
        {Change::CopyLinks, menu.pim, menu.main, ""},
        {Change::Write, In(menu.main, "Internet Explorer.lnk"), "", "21#:MSPIE"},
        {Change::Write, In(menu.main, "Windows Media.lnk"), "", Started(21, "windows\\player.exe")},
        {Change::Write, In(menu.utilities, menu.backup), "", saver},
        {Change::Write, In(menu.utilities, menu.marnetics), "",
         Started(28, "Windows\\Marnetics.exe")},
    };
    steps.insert(steps.end(), late.begin(), late.end());
}

std::vector<Step> StepsFor(const std::string& language, const VersionFacts& version) {
    std::vector<Step> steps = {{Change::ClearMenu, "", "", ""}};
    AddValues(version, steps);
    AddButtons(language, steps);
    const MenuFacts* menu = MenuOf(language);
    if (menu)
        version.late ? AddLateMenu(*menu, steps) : AddEarlyMenu(*menu, steps);
    return steps;
}

class DeviceChanges : public ConnectedPlace {
protected:
    // A handheld with nothing of the language on it, or with its folders and some links.
    void Begin(const std::string& language, bool furnished, const std::string& refused = "") {
        PutIn(refused);
        const MenuFacts* menu = furnished ? MenuOf(language) : nullptr;
        if (!menu)
            return;
        for (const std::string& folder :
             {menu->programs, menu->settings, menu->pim, menu->utilities})
            std::filesystem::create_directories(Place(folder));
        for (const std::string& link : {In(menu->programs, menu->ostrel), In(menu->pim, "One.lnk"),
                                        In(menu->pim, "Two.lnk"), In(menu->pim, "Three.txt")})
            WriteFileBytes(Place(link), "of " + link);
    }
    // A new handheld in the cradle: a copy of the first one as it was made.
    void PutIn(const std::string& refused) {
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
        ASSERT_EQ(0, CeRapiInitEx(&State.RapiInit));
        ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(RapiEvent(State.RapiInit), 1200000));
    }
    std::filesystem::path Place(std::string path) {
        std::ranges::replace(path, '\\', '/');
        return Device().File(path.substr(1));
    }

    // Changes the device, and compares what stands on it then, and the calls, with the steps.
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
            Begin(language, false);
            ExpectChange(language, version);
        }
        Begin(language, true);
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
            Begin("FRE", true, call);
            ExpectChange("FRE", version == &Early ? Late : Early, call);
            ExpectChange("FRE", *version, call);
        }
    }
}

TEST_F(DeviceChanges, find_their_rows_in_any_case_and_leave_no_handle_open) {
    Begin("FRE", true);
    const Content before = Read(Home().Device());
    ExpectChange("FRE", Late);
    const Content upper = Read(Home().Device());
    Begin("FRE", true);
    SetText(State.Image.ImageLanguage, "fre");
    State.Image.ImageVersion = VersionNumber(Late.text);
    ChangeDevice();
    ExpectSame(upper, Read(Home().Device()));
    EXPECT_NE(before, upper);
    CeRapiUninit();
    EXPECT_FALSE(Device().Handheld().Has("handles open"));
}

} // namespace
