// The tables of the handheld's maker, and the steps that follow from them for a language and
// version.

#include "testing/device_facts.h"

namespace device_model {

namespace {

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
    {"CHT", "AppButtons", {"行事曆", "連絡人", "Zenda", "Brisca", "錄音"}, "功能鍵"},
    {"CHS", "AppButtons", {"日程表", "联系人", "Zenda", "Brisca", "录音"}, "按键"},
    {"JPN", "AppButtons", {"予定表", "連絡先", "ｾﾞﾝﾀﾞ", "ﾌﾞﾘｽｶ", "ﾎﾞｲｽ ﾚｺｰﾀﾞｰ"}, "ﾎﾞﾀﾝ"},
    {"FRE",
     "BoutonsApp",
     {"Calendrier", "Contacts", "Zenda", "Brisca", "Enregistrement"},
     "Bouton"},
    {"GER", "AppButtons", {"Kalender", "Kontakte", "Zenda", "Brisca", "Record"}, "Taste"},
    {"ITA",
     "PulsantiApp",
     {"Calendario", "Contatti", "Zenda", "Brisca", "Voice Recorder"},
     "Pulsante"},
    {"SPA", "BotonesApl", {"Calendario", "Contactos", "Zenda", "Brisca", "Grabadora"}, "Botón"},
    {"", "AppButtons", {"Calendar", "Contacts", "Zenda", "Brisca", "Record"}, "Button"},
};

const char* const Icons[] = {"\\windows\\calendar.exe, 0", "\\windows\\addrbook.exe, 0",
                             "\\windows\\Orlune.exe, 0", "\\windows\\Brisca.exe, 0",
                             "\\windows\\Tavi3.exe, 0"};

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

} // namespace

const MenuFacts* MenuOf(const std::string& language) {
    for (const MenuFacts& menu : Menus) {
        if (language == menu.language)
            return &menu;
    }
    return nullptr;
}

std::string In(const std::string& folder, const std::string& name) { return folder + "\\" + name; }

std::vector<Step> StepsFor(const std::string& language, const VersionFacts& version) {
    std::vector<Step> steps = {{Change::ClearMenu, "", "", ""}};
    AddValues(version, steps);
    AddButtons(language, steps);
    const MenuFacts* menu = MenuOf(language);
    if (menu)
        version.late ? AddLateMenu(*menu, steps) : AddEarlyMenu(*menu, steps);
    return steps;
}

} // namespace device_model
