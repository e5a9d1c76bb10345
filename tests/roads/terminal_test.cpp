// Whole runs at terminals of several widths, keys as typed, and keys that break nothing off.

#include "testing/comes_true.h"
#include "tests/roads/road.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <fstream>

namespace {

using namespace road;
using test_support::ComesTrue;
constexpr char Red[] = "\033[31m", Plain[] = "\033[0m";

// What is waited for, in one line of 40 columns, and the keys that are typed then.
struct Step {
    const char* line;
    const char* keys;
};

// Of a path, which is no line before it is answered.
constexpr char Prompt[] = "> ";

// From the start to the choice of the action, by Enter, letters and the beginnings of words.
constexpr Step ToActionChoice[] = {
    {"Avertissement : L'installation", ""},
    {" 1. L'installation d'une", ""},
    {"[s] Suivant (Entrée)", "s\n"},
    {"[s] Suivant (Entrée)", " SUIV \n"},
    {"[s] Suivant (Entrée)", "1\n"},
    {"[s] Suivant (Entrée)", "\n"},
    {"[su] Suivant (pas disponible", "s\n"},
    {"Plusieurs choix possibles : Série", "sér\n"},
    {"[su] Suivant (Entrée)", "\n"},
    {"[r] Restaurer : Restaure", ""},
    {"[a] Annuler", ""},
};

constexpr Step ToTransfer[] = {
    {"De : Version ROM actuelle : 1.10", ""},
    {"[s] Suivant (Entrée)", "\n"},
    {"[a]  Annuler (Entrée deux fois)", "\n"},
    {"Entrée seule prend", "su\n"},
    {"[s] Suivant (Entrée)", "\n"},
};

class AtTerminal : public testing::Test {
protected:
    // A wizard on a pseudo-terminal that knows colours.
    static WizardRun Start(const TestHome& home, std::size_t columns = 80, const char* clock = "20",
                           const char* noColour = "") {
        return WizardRun(
            home, {{"ROM_WIZARD_CLOCK", clock}, {"NO_COLOR", noColour}, {"TERM", "xterm"}},
            "stty cols " + std::to_string(columns) + "; exec setsid --ctty \"$0\"", true);
    }
    template <class Steps>
    static void Lead(WizardRun& wizard, const Steps& steps) {
        for (const Step& step : steps) {
            if (step.line == Prompt)
                EXPECT_TRUE(ComesTrue([&] { return wizard.Process().Lines().back() == Prompt; }));
            else
                wizard.ExpectLine(step.line);
            wizard.Process().Type(step.keys);
        }
    }
    static void Lead(WizardRun& wizard, std::initializer_list<Step> steps) {
        Lead<std::initializer_list<Step>>(wizard, steps);
    }
    static void FinishUpgrade(WizardRun& wizard) {
        Lead(wizard, {{"[s] Suivant (Entrée)", "\n"}});
        wizard.Home().AwaitConnectionManager();
        Lead(wizard, {{"[t] Terminer (Entrée)", "a\n"}, {"[a] [ ] Afficher", "t\n"}});
        EXPECT_EQ(0, wizard.Wait());
    }
    // Columns that the line takes: without escape codes, a character of UTF-8 each.
    static std::size_t ColumnsOf(std::string line) {
        for (const char* code : {Red, Plain, "\033[1m"})
            for (std::size_t at; (at = line.find(code)) != std::string::npos;)
                line.erase(at, std::strlen(code));
        return static_cast<std::size_t>(std::ranges::count_if(
            line, [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }));
    }
    // Nor may a line start with what belongs to the one before it. Of a transfer each state is
    // written over the last, on one line.
    static void ExpectToRead(WizardRun& wizard, std::size_t columns) {
        for (std::string line : wizard.Process().Lines()) {
            for (std::size_t bar; (bar = line.rfind('[')) != 0 && line.find('%') != line.npos;
                 line.resize(bar))
                EXPECT_LT(ColumnsOf(line.substr(bar)), columns) << line;
            EXPECT_LE(ColumnsOf(line), columns) << line;
            const std::size_t start = line.find_first_not_of(' ');
            EXPECT_TRUE(start == line.npos || (start <= 12 && !std::strchr(":;!?", line[start])))
                << line;
        }
    }
};

// The roads at widths of which each has pages that do not fit into it.
class AtWidth : public AtTerminal, public testing::WithParamInterface<std::size_t> {};
INSTANTIATE_TEST_SUITE_P(Columns, AtWidth, testing::Values(80U, 60U, 40U),
                         testing::PrintToStringParamName());

TEST_P(AtWidth, an_upgrade_goes_by_words_and_enter) {
    auto&& [home, image, cradle] = PcWithHandheld();
    const bool coloured = GetParam() == 80;
    WizardRun wizard = Start(home, GetParam(), "20", coloured ? "" : "1");
    Lead(wizard, ToActionChoice);
    wizard.Process().Type("\n");
    Lead(wizard, {{"Entrée seule peut", "2\n"},
                  {"Ce numéro est", "zz\n"},
                  {"Pas compris : zz", "mett\n"},
                  {"Choisi : Mettre à niveau", ""}});
    Lead(wizard, ToTransfer);
    FinishUpgrade(wizard);
    EXPECT_TRUE(cradle.FlashEquals(image));
    ExpectToRead(wizard, GetParam());
    for (const char* text : {"REMARQUE", "Ne retirez pas la connexion", "Consultez le CD"})
        EXPECT_TRUE(wizard.Process().Has((coloured ? Red : "") + std::string("(!) ") + text));
    EXPECT_EQ(coloured, wizard.Process().Has("\033"));
    EXPECT_FALSE(wizard.Process().Has("== ") || wizard.Process().Has("-- "));
    EXPECT_TRUE(wizard.Process().Has(" %  encore "));
}

TEST_P(AtWidth, a_backup_takes_the_proposed_name_and_a_restore_one_completed_by_tab) {
    TestHome home;
    home.AddLanguageFolder();
    Cradle cradle(home, {.flashMegabytes = 16});
    {
        WizardRun wizard = Start(home, GetParam(), "100");
        Lead(wizard, ToActionChoice);
        wizard.Process().Type("m\n");
        Lead(wizard, {{"[s] Suivant (Entrée)", "\n"},
                      {"[sa] Sauvegarder", "sau\n"},
                      {Prompt, "x\x03"},
                      {"Annulé : aucun fichier", ""},
                      {"[sa] Sauvegarder (Entrée)", ""},
                      {"[su] Suivant", ""},
                      {"[a]  Annuler", "\n"},
                      {"Choisi : Sauvegarder", ""},
                      {Prompt, "\n"},
                      {"Choisi : TOLKROM110", ""},
                      {"sauvegarde de la ROM est maintenant", ""},
                      {"[s] Suivant (Entrée)", "a\n"}});
        EXPECT_EQ(0, wizard.Wait());
        ExpectToRead(wizard, GetParam());
    }
    WizardRun wizard = Start(home, GetParam(), "100");
    Lead(wizard, ToActionChoice);
    wizard.Process().Type("r\n");
    Lead(wizard, {{Prompt, "none/x\n"},
                  {"Ce dossier n'existe pas :", ""},
                  {Prompt, "tolkrom\t\n"},
                  {"Choisi : TOLKROM110.nbf", ""}});
    Lead(wizard, ToTransfer);
    FinishUpgrade(wizard);
    ExpectToRead(wizard, GetParam());
    EXPECT_TRUE(cradle.FlashEquals(home.Tree() / "TOLKROM110.nbf"));
}

TEST_P(AtWidth, a_transfer_that_has_failed_is_resumed_by_enter_alone) {
    auto&& [home, image, cradle] = PcWithHandheld({.run = {"--silent-at", "size"}});
    {
        WizardRun wizard = Start(home, GetParam());
        Lead(wizard, ToActionChoice);
        wizard.Process().Type("m\n");
        Lead(wizard, ToTransfer);
        Lead(wizard, {{"ERREUR 113", ""}, {"[q] Quitter (Entrée)", "\n"}});
        EXPECT_EQ(0, wizard.Wait());
    }
    cradle.TakeOut();
    std::ofstream(home.Device() / "state") << "mode=flasher\ntouched=1\n";
    cradle.RestartHandheld();
    WizardRun wizard = Start(home, GetParam());
    wizard.ExpectLine("Votre Tolk Pocket PC est mis à niveau.");
    FinishUpgrade(wizard);
    ExpectToRead(wizard, GetParam());
    EXPECT_TRUE(cradle.FlashEquals(image));
}

// Held up between two of its tokens, so that it lasts for as long as the user needs.
TEST_F(AtTerminal,
       no_key_no_sigterm_and_no_end_of_the_terminal_breaks_a_transfer_off_or_is_kept_for_later) {
    auto&& [home, image, cradle] =
        PcWithHandheld({.run = {"--late-at", "start", "--late-by", "40000"}});
    WizardRun wizard = Start(home, 80, "3,500");
    Lead(wizard, ToActionChoice);
    wizard.Process().Type("m\n");
    Lead(wizard, ToTransfer);
    wizard.ExpectLine("(!) Ne retirez pas");
    cradle.Handheld().ExpectLine("late at start");
    cradle.Handheld().Signal(SIGSTOP);
    for (const char* key : {"\x03", "\x1A", "\x1C"}) { // Ctrl-C, Ctrl-Z, Ctrl-Backslash
        wizard.Process().Type(key);
        wizard.ExpectLine("Pas interrompu : ");
    }
    wizard.Process().Signal(SIGTERM);
    wizard.ExpectLine("Pas interrompu : ");
    wizard.Process().Type("\n\ns\nsu\x13"); // and Ctrl-S
    cradle.Handheld().Signal(SIGCONT);
    cradle.Handheld().ExpectLine(": complete");
    EXPECT_TRUE(cradle.FlashEquals(image));
    wizard.Process().Type("\x11"); // Ctrl-Q
    Lead(wizard, {{"[s] Suivant (Entrée)", "zz\n"}, {"Pas compris : zz", ""}});
    const std::vector<std::string> lines = wizard.Process().Lines();
    const auto transfer = std::ranges::find_if(lines, [](const std::string& line) {
        return line.find("(!) Ne retirez pas") != line.npos;
    });
    EXPECT_EQ(0, std::count(transfer, lines.end(), "Choisi : Suivant")) << "typed ahead";
    wizard.Process().HangUp();
    EXPECT_EQ(0, wizard.Process().Wait());
}

TEST_F(AtTerminal, ctrl_c_leaves_a_file_dialog_or_a_page_or_else_the_wizard) {
    auto&& [home, image, cradle] = PcWithHandheld();
    {
        WizardRun wizard = Start(home);
        Lead(wizard, ToActionChoice);
        wizard.Process().Type("r\n");
        Lead(wizard,
             {{"Quel fichier", "\x03"}, {"Annulé : aucun fichier", ""}, {"[m] Mettre", ""}});
        wizard.Process().Signal(SIGHUP); // as the end of input
        EXPECT_EQ(0, wizard.Wait());
    }
    cradle.StartManager({"--major", "3", "--minor", "1"});
    WizardRun wizard = Start(home);
    wizard.ExpectLine("[q] Quitter (Entrée)");
    wizard.Process().Type("\x03");
    EXPECT_EQ(0, wizard.Wait());
}

// Of one for another model and another language.
TEST_F(AtTerminal, a_wrong_image_is_marked_by_its_model_alone) {
    TestHome home;
    home.AddLanguageFolder({.model = "TOLKP2000", .language = "FRE"});
    const Cradle cradle(home);
    WizardRun wizard = Start(home);
    Lead(wizard, ToActionChoice);
    wizard.Process().Type("m\n");
    Lead(wizard, {{"(!) Mod", ""}, {"[q] Quitter (Entrée)", "\n"}});
    EXPECT_EQ(0, wizard.Wait());
    EXPECT_FALSE(wizard.Process().Has("(!) Lang"));
}

TEST_F(AtTerminal, is_where_a_wizard_that_finds_no_desktop_shows_itself_and_is_ended_by_sigterm) {
    auto&& [home, image, cradle] = PcWithHandheld();
    const test_support::Environment gone = {
        {"ROM_WIZARD_DISPLAY", ""}, {"DISPLAY", ":4711"}, {"WAYLAND_DISPLAY", "gone"}};
    for (const char* before : {":", "cp \"$0\" . && exec ./rom-wizard"}) { // without its module
        WizardRun wizard(home, gone, before);
        wizard.ExpectPage(UpgradeNoticePage);
        wizard.Process().Signal(SIGTERM);
        EXPECT_EQ(128 + SIGTERM, wizard.Wait());
    }
}

} // namespace
