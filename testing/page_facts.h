// The index of all pages: what each shows, control by control, and the result of each command.
// The table is written from the pages as they are specified to the user, apart from the rows that
// it judges. It serves tests on every host and so includes nothing but the wizard and the platform.
#pragma once

#include "frame/catalog.h"
#include "frame/error_pages.h"
#include "frame/waiting_pages.h"
#include "link/link_error_pages.h"
#include "pages/closing_pages.h"
#include "pages/decision_pages.h"
#include "pages/introduction_pages.h"
#include "pages/progress_pages.h"
#include "resources/resource.h"
#include "state/state.h"

#include <commctrl.h>

#include <atomic>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace page_test {

struct PageFacts {
    int dialog;
    INT_PTR (*show)();
    // command:result; a command that has no button is Escape (2) or Enter (1).
    const char* results;
    // control=text, where a text is a catalog number, a literal, or several with + between them;
    // behind it !h heading font, !b bold, !r red, !m red behind the text.
    const char* texts;
    const char* pictures = ""; // bitmap@x,y beside the banner
    const char* before = "";   // what is clicked before each command
};

template <const Page& page>
INT_PTR Show() {
    return ShowPage(page);
}

inline INT_PTR ShowFinishOverUsb() {
    State.Run.SerialLinkSelected = false;
    return ShowPage(FinishPage());
}

inline INT_PTR ShowLargeImage() {
    State.Image.ImageSizeKB = 33 * 1024 - 1;
    State.Handheld.FlashSizeMB = 16;
    return ShowPage(ImageTooLargePage);
}

inline INT_PTR ShowReadyAfterBackup() {
    State.Run.BackupDone = true;
    return ShowPage(UpgradeReadyPage);
}

inline const PageFacts Index[] = {
    {166, Show<UpgradeNoticePage>, "1181:0 2:1",
     "1176=11148!b 1182=11166!b 1177=11149 1178=11150 1180=11039 1181=11012 2=11011"},
    {103, Show<WelcomePage>, "1:0 2:1",
     "1038=11058!h -1=11059 1073=11060 1074=11039 1=11012 2=11011"},
    {121, Show<HostChecklistPage>, "1:0 2:1", "1044=11036 1047=11039 1=11012 2=11011"},
    {161, Show<DeviceChecklistPage>, "1:0 2:1",
     "1045=11037 1046=11038 1157=11135!r 1047=11039 1=11012 2=11011", "157@350,65"},
    {158, Show<ConnectionTypePage>, "1:0 2:1",
     "1152=11129 1154=11160 1150=11130 1151=11131 1153=11039 1=11012 2=11011",
     "162@305,100 163@305,200", "1150"},
    {105, Show<PowerWarningPage>, "1:0 2:1", "1040=11029!h 1144=11126 1089=11039 1=11012 2=11011"},
    {109, Show<ActionChoicePage>, "1035:1035 1036:1036 2:1 1:0",
     "1064=11051 1066=11042+TOLKP1000 1067=11043+1.87 1068=11044+11139 1065=11052 1035=11055 "
     "1069=11053 1036=11056 1070=11054 1071=11031 2=11011"},
    {124, Show<VersionConfirmPage>, "1:1 2:2",
     "1048=11041 1049=11013 1050=11043+1.87 1051=11014 1027=11046+2.01 1054=11039 1=11012 "
     "2=11011"},
    {125, Show<BackupChoicePage>, "1:1 2:2", "1041=11030 1042=11031 1030=11018 1=11012 2=11011"},
    {130, Show<UpgradeReadyPage>, "1:1 2:2",
     "1128= 1076=11062 1129=11108 1130=11109 1075=11039 1=11012 2=11011"},
    {130, ShowReadyAfterBackup, "1:1 2:2",
     "1128=11107 1076=11062 1129=11108 1130=11109 1075=11039 1=11012 2=11011"},
    {167, Show<UpgradeDonePage>, "1181:0 2:1", "1193=11155 1194=11156 1195=11134 1181=11012",
     "173@282,200"},
    {160, [] { return ShowPage(FinishPage()); }, "1:0 2:1",
     "1088=11069 1133=11114 1127=11159!r 1126=11104 1=11070 1134="},
    {133, ShowFinishOverUsb, "1:0 2:1",
     "1088=11069 1133=11114 1127=11159!r 1126=11104 1=11070 1134="},
    {123, Show<IncompatibleImagePage>, "2:1",
     "1055=11047!h 1145=11115 1056=11042+TOLKP1000 1057=11043+1.87 1058=11044+11139 1059=11049 "
     "1060=11042+TOLKP2000 1061=11046+2.01 1062=11044+11145 1063=11050 2=11048"},
    {138, Show<ConnectionErrorPage>, "2:1", "1091=11075!h 1135=11116 1092=11074 2=11048"},
    {139, Show<ChecksumErrorPage>, "2:1", "1093=11076!h 1137=11117 1094=11074 2=11048"},
    {140, Show<ImageMissingPage>, "2:1", "1095=11077!h 1136=11118 1096=11074 2=11048"},
    {141, Show<ImageOpenErrorPage>, "2:1", "1097=11078!h 1141=11119 1098=11074 2=11048"},
    {143, Show<PortErrorPage>, "2:1", "1105=11082!h 1140=11120 1104=11074 2=11048"},
    {144, Show<RemoteProgramErrorPage>, "2:1", "1106=11083!h 1142=11121 1107=11074 2=11048"},
    {145, Show<BackupSpaceErrorPage>, "2:1",
     "1108=11084!h 1115=11089 1109=11122 1143=11074 2=11048"},
    {146, Show<ModuleDataErrorPage>, "2:2 1:1", "1110=11085!h 1111=11086 1139=11074 2=11048"},
    {147, Show<BackupFailedPage>, "2:1", "1113=11088!h 1114=11124 1149=11074 2=11048"},
    {151, ShowLargeImage, "2:1",
     "1116=11098!h 1138=11125 1118=11099 1120=32+11103 1119=11100 1121=16+11103 1117=11074 "
     "2=11048"},
    {152, Show<FileExistsPage>, "1:1 2:2", "1122=11101!h 1123=11102 1=11012 2=11011"},
    {114, Show<UpgradeErrorPage>, "2:1", "1039=11028!h 1147=11127 1102=11081 1103=11074 2=11048",
     "157@420,155"},
    {142, Show<CommunicationErrorPage>, "2:1",
     "1099=11079!h 1100=11080 1101=11128 1148=11074 2=11048", "157@440,245"},
    {165, Show<ActiveSyncVersionPage>, "1175:1", "1172=11146!h 1173=11147 1174=11074 1175=11048"},
};

// The page that stays open until the test ends it.
inline std::atomic<HWND> openedPage = nullptr;

// Its thread serves messages that other threads send, as Windows does in many calls, and paints
// nothing: the page is on the screen whole when it has been opened.
template <const Page& page>
INT_PTR ShowWaiting() {
    openedPage = OpenWaitingPage(page, nullptr);
    MSG message;
    while (IsWindowVisible(openedPage)) {
        PeekMessageA(&message, nullptr, 0, 0, PM_NOREMOVE);
        Sleep(1);
    }
    return DestroyWindow(openedPage);
}

// As a worker leaves it a third of the way, without the worker.
template <const Page& page, int duration, unsigned text>
INT_PTR ShowTransfer() {
    Page idle = page;
    idle.open = [](HWND window) {
        openedPage = window;
        SetDlgItemTextA(window, duration, CatalogText(text));
        SendDlgItemMessageA(window, IDC_PROGRESS, PBM_SETPOS, 37, 0);
        SetDlgItemInt(window, IDC_PERCENT, 37, FALSE);
    };
    return ShowPage(idle);
}

inline INT_PTR ShowOtherModel() {
    State.Run.ModelMismatch = true;
    return ShowPage(IncompatibleImagePage);
}

// Beside those of the index: pages that nobody can leave, and lines with red behind them (!m).
inline const PageFacts Others[] = {
    {122, ShowWaiting<BusyPage>, "", "1072=11057"},
    {153, ShowWaiting<PreparePage>, "", "1127=11106"},
    {102, ShowTransfer<ProgressPage, IDC_PROGRESS_DURATION, 11113>, "",
     "1043=11033 1131=11110!r 1132=11113 1023=37 -1=%"},
    {132, ShowTransfer<BackupPage, IDC_BACKUP_TEXT, 11066>, "", "1087=11066 1023=37 -1=%"},
    {123, ShowOtherModel, "2:1",
     "1056=11042+TOLKP1000!m 1058=11044+11139 1060=11042+TOLKP2000!m 1062=11044+11145"},
};

// A page that nobody can leave has neither title nor banner.
inline bool CanBeLeft(const PageFacts& facts) { return *facts.results != '\0'; }

// What the file with its picture is called.
inline std::string PictureName(const PageFacts& facts) {
    const char* mark = facts.show == ShowOtherModel         ? "-model"
                       : facts.show == ShowReadyAfterBackup ? "-saved"
                                                            : "";
    return std::to_string(facts.dialog) + mark + ".png";
}

// Of a test with these facts as its parameter.
inline constexpr auto NameOfPage = [](const auto& facts) {
    return "page_" + std::to_string(facts.param.dialog) + "_at_" + std::to_string(facts.index);
};

inline std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);)
        parts.push_back(part);
    return parts;
}

// The text that a description stands for, in the ANSI code page, as the catalog has it.
inline std::string ExpandText(const std::string& description) {
    std::string text;
    for (const std::string& part : Split(description, '+')) {
        const bool isNumber = part.size() == 5 && part.starts_with("11");
        text += text.empty() ? "" : " ";
        text += isNumber ? CatalogText(static_cast<unsigned>(std::stoul(part))) : part;
    }
    return text;
}

struct TextFact {
    int control;
    std::string words; // in the ANSI code page
    char mark;         // h, b, r, m or a blank
};

inline std::vector<TextFact> TextsOf(const PageFacts& facts) {
    std::vector<TextFact> texts;
    for (const std::string& fact : Split(facts.texts, ' ')) {
        const std::size_t equals = fact.find('='), mark = fact.find('!');
        texts.push_back({std::stoi(fact), ExpandText(fact.substr(equals + 1, mark - equals - 1)),
                         mark == std::string::npos ? ' ' : fact[mark + 1]});
    }
    return texts;
}

inline bool HasControl(const PageFacts& facts, int control) {
    const std::string start = std::to_string(control) + "=";
    return (" " + std::string(facts.texts)).find(" " + start) != std::string::npos;
}

inline std::vector<PageResult> ResultsOf(const PageFacts& facts) {
    std::vector<PageResult> results;
    for (const std::string& row : Split(facts.results, ' '))
        results.push_back({std::stoi(row), std::stoi(row.substr(row.find(':') + 1))});
    return results;
}

// The extra pictures of the page, then the banner.
inline std::vector<PagePicture> PicturesOf(const PageFacts& facts) {
    std::vector<PagePicture> pictures;
    for (const std::string& picture : Split(facts.pictures, ' ')) {
        const std::size_t at = picture.find('@'), comma = picture.find(',');
        pictures.push_back({std::stoi(picture), std::stoi(picture.substr(at + 1)),
                            std::stoi(picture.substr(comma + 1))});
    }
    if (CanBeLeft(facts))
        pictures.push_back({127, 10, 10});
    return pictures;
}

// The handheld and the image that the texts of the index speak of.
inline void FillState() {
    std::strcpy(State.Handheld.DeviceModel, "TOLKP1000");
    std::strcpy(State.Handheld.DeviceVersionText, "1.87");
    std::strcpy(State.Paths.LanguageFolder, "French");
    std::strcpy(State.Image.ImageModel, "TOLKP2000");
    std::strcpy(State.Image.ImageVersionText, "2.01");
    std::strcpy(State.Image.ImageLanguageName, "Japanese");
    State.Run.SerialLinkSelected = true;
    State.Run.RunEnded = State.Run.RunEndsItself = State.Run.MainWindowGone = false;
}

// The banner, as the wizard loads it before its first page.
class LoadedBanner {
public:
    LoadedBanner() {
        windows_.BannerDC = CreateCompatibleDC(nullptr);
        windows_.BannerBitmap = LoadBitmapA(windows_.AppInstance, MAKEINTRESOURCEA(127));
        before_ = SelectObject(windows_.BannerDC, windows_.BannerBitmap);
    }
    ~LoadedBanner() {
        SelectObject(windows_.BannerDC, before_);
        DeleteObject(windows_.BannerBitmap);
        DeleteDC(windows_.BannerDC);
    }
    LoadedBanner(const LoadedBanner&) = delete;
    LoadedBanner& operator=(const LoadedBanner&) = delete;

private:
    WindowValues& windows_ = State.Windows;
    HGDIOBJ before_ = nullptr;
};

} // namespace page_test
