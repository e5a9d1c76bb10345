// Whole runs on the desktop by a screen reader alone: pages are told apart by their names, and
// buttons pressed by theirs.

#include "testing/screen_reader.h"
#include "testing/x_desktop.h"
#include "tests/roads/road.h"

#include <algorithm>
#include <fstream>

namespace {

using namespace road;

// A window by the beginning of its name, what is heard in it, in this order and among other things,
// and what is pressed then.
struct Heard {
    std::string window;
    std::vector<std::string> parts;
    std::string press;
};
using Pages = std::vector<Heard>;

constexpr char Next[] = "Suivant", Quit[] = "Quitter", Cancel[] = "Annuler", Save[] = "Sauvegarder",
               Upgrade[] = "Mettre à niveau", Restore[] = "Restaurer";
constexpr char Nothing[] = "";          // it ends by itself
constexpr char FileName[] = "its name"; // is entered in place of what the dialog proposes

const Pages Introduction = {
    {"La mise à niveau vers Microsoft Pocket PC 2002 va commencer... – Utilitaire de mise à niveau",
     {"label: Avertissement : L'installation de cette mise à niveau supprime",
      "push button: Suivant | focused | default", "push button: Annuler"},
     Next},
    {"Bienvenue dans l'utilitaire", {}, Next},
    {"Avant de poursuivre, préparez la mise à niveau de votre Tolk Pocket PC comme suit. –",
     {},
     Next},
    {"Sur votre Tolk Pocket PC :",
     {"graphic: Au dos de l'appareil", "label: Attention : REMARQUE : veuillez ne pas agir"},
     Next},
};
Heard ConnectionType(const char* link) {
    return {"Veuillez sélectionner votre type de connexion :",
            {"radio button: USB", "radio button: Série", "push button: Suivant | disabled"},
            link};
}
Heard ActionChoice(const char* action) {
    return {"Informations actuelles",
            {"push button: Mettre à niveau | Met à niveau la version en cours de la ROM",
             "push button: Restaurer | Restaure une version ROM antérieure",
             "push button: Annuler"},
            action};
}
const Heard VersionConfirm = {
    "Vérifiez que vous voulez effectuer",
    {"label: De : Version ROM actuelle : ", "label: En : Nouvelle version ROM : "},
    Next};
Heard BackupChoice(const char* choice) {
    return {"Il est conseillé de sauvegarder l'image de la ROM en cours sur le PC. –",
            {"push button: Sauvegarder", "push button: Suivant",
             "push button: Annuler | focused | default"},
            choice};
}
const Heard FileDialog = {"", {}, FileName};
const Heard Backup = {"Sauvegarde de l'image ROM actuelle.",
                      {"progress bar: Sauvegarde de l'image ROM actuelle."},
                      Nothing};
const Heard Saved = {"La sauvegarde de la ROM est maintenant terminée. –", {}, Cancel};
const Heard Ready = {"Vous êtes maintenant prêt à mettre à niveau ",
                     {"label: Sur le PC :", "label: Sur l'Tolk Pocket PC :"},
                     Next};
const Heard Transfer = {
    "Mise à niveau de l'image ROM sur votre Tolk Pocket PC...",
    {"label: Attention : Ne retirez pas la connexion", "progress bar: Mise à niveau de l'image"},
    Nothing};
const Heard Failed = {"ERREUR 113: ERREUR DE MISE À NIVEAU –", {}, Quit};
const Pages Closing = {
    {"Votre Tolk Pocket PC est mis à niveau. –",
     {"label: 1. Retirez", "graphic: Le commutateur"},
     Next},
    {"Bravo ! La sauvegarde de la ROM est maintenant terminée. –",
     {"check box: Afficher le fichier readme qui contient des informations importantes. | labelled "
      "| checked"},
     "Afficher le fichier readme qui contient des informations importantes."},
};

class ByScreenReader : public testing::Test {
protected:
    WizardRun Start() {
        auto variables = desktop_.Variables();
        for (const auto& variable : reader_.Variables())
            variables.push_back(variable);
        variables.emplace_back("HOME", home_.Path().string());
        return WizardRun(home_, variables);
    }
    void Lead(const Heard& page) {
        SCOPED_TRACE(page.window);
        const auto heard = reader_.AwaitWindow(page.window);
        auto from = heard.begin();
        for (const std::string& part : page.parts) {
            const auto found = std::find_if(
                from, heard.end(), [&](const std::string& line) { return line.starts_with(part); });
            EXPECT_NE(found, heard.end()) << part;
            from = found == heard.end() ? from : found + 1;
        }
        for (const std::string& line : heard)
            EXPECT_TRUE(page.press == FileName ||
                        (line.find("NAMELESS") == line.npos && line.find("MISPLACED") == line.npos))
                << line;
        if (page.press == FileName)
            reader_.Write(file_.string());
        if (page.press != Nothing)
            reader_.Press(page.press == FileName ? "" : page.press);
    }
    void Lead(const Pages& pages) {
        for (const Heard& page : pages)
            Lead(page);
    }
    // A whole run, by those of its pages that lie between the choice of the link and the end.
    void Run(const char* link, const Pages& pages, bool upgrades = true) {
        WizardRun wizard = Start();
        if (link) {
            Lead(Introduction);
            Lead(ConnectionType(link));
            reader_.Press(Next);
        }
        Lead(pages);
        if (upgrades) {
            Lead(Closing);
            home_.AwaitConnectionManager();
            reader_.Press("Terminer");
        }
        EXPECT_EQ(0, wizard.Wait());
    }
    // Ten for each transfer so far. Nothing is told of the figure beside the bar, nor of a text
    // that is set to what it says already.
    void ExpectAnnouncementsInSteps(std::ptrdiff_t transfers) {
        const auto lines = reader_.Process().Lines();
        const auto count = [&](const char* start) {
            return std::ranges::count_if(
                lines, [&](const std::string& line) { return line.starts_with(start); });
        };
        EXPECT_GT(count("reached "), 2 * transfers);
        EXPECT_LE(count("reached "), 10 * transfers);
        for (const char* figure : {"changed 1", "changed 5", "changed 9", "changed Cliquez"})
            EXPECT_EQ(0, count(figure)) << figure;
    }

    TestHome home_;
    const std::filesystem::path file_ = home_.Path("saved.nbf");
    test_support::XDesktop desktop_;
    test_support::ScreenReader reader_{home_.Path().string()};
};

TEST_F(ByScreenReader, an_upgrade_is_led) {
    const auto image = home_.AddLanguageFolder({.size = 0x800020});
    Cradle cradle(home_, {.flashMegabytes = 16});
    Run("Série", {ActionChoice(Upgrade), VersionConfirm, BackupChoice(Next), Ready, Transfer});
    ExpectAnnouncementsInSteps(1);
    EXPECT_TRUE(cradle.FlashEquals(image));
}

TEST_F(ByScreenReader, a_backup_is_saved_and_restored) {
    home_.AddLanguageFolder();
    Cradle cradle(home_, {.flashMegabytes = 16});
    Run("USB",
        {ActionChoice(Upgrade), VersionConfirm, BackupChoice(Save), FileDialog, Backup, Saved},
        false);
    Run("USB",
        {ActionChoice(Restore), FileDialog, VersionConfirm, BackupChoice(Next), Ready, Transfer});
    ExpectAnnouncementsInSteps(2);
    EXPECT_TRUE(cradle.FlashEquals(file_));
}

TEST_F(ByScreenReader, a_transfer_that_has_failed_is_resumed) {
    const auto image = home_.AddLanguageFolder();
    Cradle cradle(home_, {.run = {"--silent-at", "size"}});
    Run("Série", {ActionChoice(Upgrade), VersionConfirm, BackupChoice(Next), Ready, Failed}, false);
    cradle.TakeOut();
    std::ofstream(home_.Device() / "state") << "mode=flasher\ntouched=1\n";
    cradle.RestartHandheld();
    Run(nullptr, {});
    EXPECT_TRUE(cradle.FlashEquals(image));
}

} // namespace
