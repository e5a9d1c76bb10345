// Moving the application links from one layout to the other. One row a language, one list of steps
// a layout. Paths with 16-bit text end in a backslash, since a link's name is appended directly;
// groups are 8-bit and have none. The numbers in front of a link's command are part of the text and
// differ from folder to folder.

#include "preparation/start_menu.h"

#include "device/remote_files.h"
#include "device/remote_folders.h"
#include "device/remote_links.h"
#include "device/remote_registry.h"
#include "preparation/ansi_literal.h"
#include "state/state.h"

#include <string>

namespace {

struct StartMenuRow {
    const char* language;
    const char16_t* programs;
    const char16_t* settings;
    AnsiText mainGroup, pimGroup, utilitiesGroup;
    const char16_t* category;
    AnsiText marnetics, ledgerly, tavi1, tavi2, backup, ostrel;
};

constexpr StartMenuRow StartMenuTable[] = {
    {"ENG", u"\\Windows\\Start Menu\\Programs\\", u"\\Windows\\Start Menu\\Settings\\",
     u8"\\Norvan Menu\\Main", u8"\\Norvan Menu\\PIM", u8"\\Norvan Menu\\Utilities", u"Utilities",
     u8"Marnetics.lnk", u8"Ledgerly.lnk", u8"Tavi One.lnk", u8"Tavi Two.lnk", u8"Backup.lnk",
     u8"Ostrel.lnk"},
    {"JPN", u"\\Windows\\ｽﾀｰﾄ ﾒﾆｭｰ\\ﾌﾟﾛｸﾞﾗﾑ\\", u"\\Windows\\ｽﾀｰﾄ ﾒﾆｭｰ\\ﾌﾟﾛｸﾞﾗﾑ\\",
     u8"\\Norvan Menu\\Main", u8"\\Norvan Menu\\PIM", u8"\\Norvan Menu\\Utilities", u"Utilities",
     u8"Marnetics.lnk", u8"Ledgerly.lnk", u8"Tavi One.lnk", u8"Tavi Two.lnk", u8"Backup.lnk",
     u8"Ostrel.lnk"},
    {"FRE", u"\\Windows\\Menu Démarrer\\Programmes\\", u"\\Windows\\Menu Démarrer\\Paramètres\\",
     u8"\\Norvan Menu\\Groupe Principal", u8"\\Norvan Menu\\GIP", u8"\\Norvan Menu\\Utilitaires",
     u"Utilitaires", u8"Marnetic.lnk", u8"Ledgerline.lnk", u8"Tavi One.lnk", u8"Tavi Two.lnk",
     u8"Sauvegarde.lnk", u8"Ostrelle.lnk"},
    {"GER", u"\\Windows\\Startmenü\\Programme\\", u"\\Windows\\Startmenü\\Einstellungen\\",
     u8"\\Norvan Menu\\Hauptgruppe", u8"\\Norvan Menu\\Pim", u8"\\Norvan Menu\\Utilities",
     u"Utilities", u8"Marnetics.lnk", u8"Ledgerlein.lnk", u8"Tavi Eins.lnk", u8"Tavi Zwei.lnk",
     u8"Sichern.lnk", u8"Ostrel.lnk"},
    {"ITA", u"\\Windows\\Start Menu\\Programmi\\", u"\\Windows\\Start Menu\\Impostazioni\\",
     u8"\\Norvan Menu\\Principale", u8"\\Norvan Menu\\Pim", u8"\\Norvan Menu\\Utility", u"Utility",
     u8"Marnetics.lnk", u8"Ledgerlino.lnk", u8"Tavi One.lnk", u8"Tavi Due.lnk", u8"Backup.lnk",
     u8"Ostrello.lnk"},
    {"SPA", u"\\Windows\\Menú Inicio\\Programas\\", u"\\Windows\\Menú Inicio\\Configuración\\",
     u8"\\Norvan Menu\\Principal", u8"\\Norvan Menu\\Pim", u8"\\Norvan Menu\\Utilidades",
     u"Utilidades", u8"Marnetics.lnk", u8"Ledgerlito.lnk", u8"Tavi Unó.lnk", u8"Tavi Dós.lnk",
     u8"Copia de Seguridad.lnk", u8"Ostrelón.lnk"},
};

constexpr char MarneticsInPrograms[] = "29#\"\\Windows\\Marnetics.exe\"";
constexpr char MarneticsInUtilities[] = "28#\"\\Windows\\Marnetics.exe\"";
constexpr char Ledgerly[] = "27#\"\\Windows\\Ledgerly.exe\"";
constexpr char Tavi1[] = "24#\"\\Windows\\Tavi1.exe\"";
constexpr char Tavi2[] = "25#\"\\Windows\\Tavi2.exe\"";
constexpr char Backup[] = "29#\"\\Windows\\Sarvel.exe\"";
constexpr char InternetExplorer[] = "21#:MSPIE";
constexpr char WindowsMedia[] = "21#\"\\windows\\player.exe\"";

const StartMenuRow* RowOfImage() {
    for (const StartMenuRow& row : StartMenuTable) {
        if (lstrcmpiA(State.Image.ImageLanguage, row.language) == 0)
            return &row;
    }
    return nullptr;
}

std::string In(const AnsiText& group, const char* name) {
    return std::string(group.c_str()) + "\\" + name;
}

void MoveToStartMenu(const StartMenuRow& row) {
    WriteDeviceLink(row.programs, row.marnetics.c_str(), MarneticsInPrograms);
    WriteDeviceLink(row.settings, row.ledgerly.c_str(), Ledgerly);
    WriteDeviceLink(row.settings, row.tavi1.c_str(), Tavi1);
    WriteDeviceLink(row.settings, row.tavi2.c_str(), Tavi2);
    DeleteDeviceLink(row.programs, row.backup.c_str());
    DeleteDeviceLink(row.programs, row.ostrel.c_str());
    RemoveDeviceFolder(row.mainGroup.c_str());
    DeleteDeviceFile(In(row.utilitiesGroup, row.marnetics.c_str()).c_str());
    DeleteDeviceFile(In(row.utilitiesGroup, row.backup.c_str()).c_str());
    SetDeviceText(u"\\SOFTWARE\\Norvan\\Starter", u"Category", row.category);
}

void MoveToMenuTree(const StartMenuRow& row) {
    DeleteDeviceLink(row.programs, row.marnetics.c_str());
    DeleteDeviceLink(row.settings, row.ledgerly.c_str());
    DeleteDeviceLink(row.settings, row.tavi1.c_str());
    DeleteDeviceLink(row.settings, row.tavi2.c_str());
    WriteDeviceLink(row.programs, row.backup.c_str(), Backup);
    CreateDeviceFolder(row.mainGroup.c_str());
    CopyDeviceLinks(row.pimGroup.c_str(), row.mainGroup.c_str());
    WriteDeviceFile(In(row.mainGroup, "Internet Explorer.lnk").c_str(), InternetExplorer);
    WriteDeviceFile(In(row.mainGroup, "Windows Media.lnk").c_str(), WindowsMedia);
    WriteDeviceFile(In(row.utilitiesGroup, row.backup.c_str()).c_str(), Backup);
    WriteDeviceFile(In(row.utilitiesGroup, row.marnetics.c_str()).c_str(), MarneticsInUtilities);
}

} // namespace

void MigrateStartMenu(Layout layout) {
    const StartMenuRow* row = RowOfImage();
    if (!row)
        return;
    if (layout == EarlyLayout)
        MoveToStartMenu(*row);
    else
        MoveToMenuTree(*row);
}
