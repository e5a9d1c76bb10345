// The numbered failures as rows of data. Two of them show values of the record, and one has to
// forget why it was shown: a mismatch that stays set would mark lines the next time.

#include "frame/error_pages.h"

#include "frame/catalog.h"
#include "resources/resource.h"
#include "state/state.h"

#include <cstdio>

namespace {

constexpr PageResult Quit[] = {{IDCANCEL, 1}};

constexpr PageText IncompatibleImageTexts[] = {
    {IDC_INCOMPATIBLE_HEADING, IDS_ERROR_100_HEADING, TextMark::Heading},
    {IDC_INCOMPATIBLE_DEVICE_TEXT, IDS_ERROR_100_DEVICE},
    {IDC_INCOMPATIBLE_DEVICE_MODEL, IDS_MODEL, TextMark::Plain, State.Handheld.DeviceModel},
    {IDC_INCOMPATIBLE_DEVICE_VERSION, IDS_CURRENT_VERSION, TextMark::Plain,
     State.Handheld.DeviceVersionText},
    {IDC_INCOMPATIBLE_DEVICE_LANGUAGE, 0},
    {IDC_INCOMPATIBLE_IMAGE_TEXT, IDS_ERROR_100_IMAGE},
    {IDC_INCOMPATIBLE_IMAGE_MODEL, IDS_MODEL, TextMark::Plain, State.Image.ImageModel},
    {IDC_INCOMPATIBLE_IMAGE_VERSION, IDS_NEW_VERSION, TextMark::Plain,
     State.Image.ImageVersionText},
    {IDC_INCOMPATIBLE_IMAGE_LANGUAGE, 0},
    {IDC_INCOMPATIBLE_HINT, IDS_ERROR_100_HINT},
    {IDCANCEL, IDS_QUIT},
};

// The property that failed stands out on the handheld's line and on the image's.
constexpr PageColour MismatchColours[] = {
    {IDC_INCOMPATIBLE_DEVICE_MODEL, Colouring::RedBackground, &State.Run.ModelMismatch},
    {IDC_INCOMPATIBLE_IMAGE_MODEL, Colouring::RedBackground, &State.Run.ModelMismatch},
    {IDC_INCOMPATIBLE_DEVICE_LANGUAGE, Colouring::RedBackground, &State.Run.LanguageMismatch},
    {IDC_INCOMPATIBLE_IMAGE_LANGUAGE, Colouring::RedBackground, &State.Run.LanguageMismatch},
};

void SetLanguageLines(HWND page) {
    SetLabelledText(page, IDC_INCOMPATIBLE_DEVICE_LANGUAGE, IDS_LANGUAGE,
                    LanguageNameText(State.Paths.LanguageFolder));
    SetLabelledText(page, IDC_INCOMPATIBLE_IMAGE_LANGUAGE, IDS_LANGUAGE,
                    LanguageNameText(State.Image.ImageLanguageName));
}

bool ForgetMismatch(HWND, UINT message, WPARAM, LPARAM, INT_PTR*) {
    if (message == WM_DESTROY)
        State.Run.ModelMismatch = State.Run.LanguageMismatch = false;
    return false;
}

constexpr PageText ConnectionErrorTexts[] = {
    {IDC_CONNECTION_ERROR_HEADING, IDS_ERROR_101_HEADING, TextMark::Heading},
    {IDC_CONNECTION_ERROR_TEXT, IDS_ERROR_101_TEXT},
    {IDC_CONNECTION_ERROR_HINT, IDS_QUIT_HINT},
    {IDCANCEL, IDS_QUIT},
};

constexpr PageText ChecksumErrorTexts[] = {
    {IDC_CHECKSUM_HEADING, IDS_ERROR_102_HEADING, TextMark::Heading},
    {IDC_CHECKSUM_TEXT, IDS_ERROR_102_TEXT},
    {IDC_CHECKSUM_HINT, IDS_QUIT_HINT},
    {IDCANCEL, IDS_QUIT},
};

constexpr PageText ImageMissingTexts[] = {
    {IDC_IMAGE_MISSING_HEADING, IDS_ERROR_103_HEADING, TextMark::Heading},
    {IDC_IMAGE_MISSING_TEXT, IDS_ERROR_103_TEXT},
    {IDC_IMAGE_MISSING_HINT, IDS_QUIT_HINT},
    {IDCANCEL, IDS_QUIT},
};

constexpr PageText ImageOpenErrorTexts[] = {
    {IDC_IMAGE_OPEN_HEADING, IDS_ERROR_104_HEADING, TextMark::Heading},
    {IDC_IMAGE_OPEN_TEXT, IDS_ERROR_104_TEXT},
    {IDC_IMAGE_OPEN_HINT, IDS_QUIT_HINT},
    {IDCANCEL, IDS_QUIT},
};

constexpr PageText PortErrorTexts[] = {
    {IDC_PORT_HEADING, IDS_ERROR_105_HEADING, TextMark::Heading},
    {IDC_PORT_TEXT, IDS_ERROR_105_TEXT},
    {IDC_PORT_HINT, IDS_QUIT_HINT},
    {IDCANCEL, IDS_QUIT},
};

constexpr PageText RemoteProgramErrorTexts[] = {
    {IDC_REMOTE_PROGRAM_HEADING, IDS_ERROR_106_HEADING, TextMark::Heading},
    {IDC_REMOTE_PROGRAM_TEXT, IDS_ERROR_106_TEXT},
    {IDC_REMOTE_PROGRAM_HINT, IDS_QUIT_HINT},
    {IDCANCEL, IDS_QUIT},
};

constexpr PageText BackupSpaceErrorTexts[] = {
    {IDC_BACKUP_SPACE_HEADING, IDS_ERROR_107_HEADING, TextMark::Heading},
    {IDC_BACKUP_SPACE_TEXT, IDS_ERROR_107_TEXT},
    {IDC_BACKUP_SPACE_NOTE, IDS_ERROR_107_NOTE},
    {IDC_BACKUP_SPACE_HINT, IDS_QUIT_HINT},
    {IDCANCEL, IDS_QUIT},
};

constexpr PageText ModuleDataErrorTexts[] = {
    {IDC_MODULE_DATA_HEADING, IDS_ERROR_108_HEADING, TextMark::Heading},
    {IDC_MODULE_DATA_TEXT, IDS_ERROR_108_TEXT},
    {IDC_MODULE_DATA_HINT, IDS_QUIT_HINT},
    {IDCANCEL, IDS_QUIT},
};

constexpr PageResult ModuleDataErrorResults[] = {{IDCANCEL, ModuleDataErrorQuit},
                                                 {IDOK, ModuleDataErrorSkip}};

constexpr PageText BackupFailedTexts[] = {
    {IDC_BACKUP_FAILED_HEADING, IDS_ERROR_109_HEADING, TextMark::Heading},
    {IDC_BACKUP_FAILED_TEXT, IDS_ERROR_109_TEXT},
    {IDC_BACKUP_FAILED_HINT, IDS_QUIT_HINT},
    {IDCANCEL, IDS_QUIT},
};

constexpr PageText ImageTooLargeTexts[] = {
    {IDC_TOO_LARGE_HEADING, IDS_ERROR_110_HEADING, TextMark::Heading},
    {IDC_TOO_LARGE_TEXT, IDS_ERROR_110_TEXT},
    {IDC_TOO_LARGE_IMAGE_LABEL, IDS_IMAGE_SIZE},
    {IDC_TOO_LARGE_IMAGE_SIZE, 0},
    {IDC_TOO_LARGE_FLASH_LABEL, IDS_FLASH_SIZE},
    {IDC_TOO_LARGE_FLASH_SIZE, 0},
    {IDC_TOO_LARGE_HINT, IDS_QUIT_HINT},
    {IDCANCEL, IDS_QUIT},
};

void SetMegabytes(HWND page, int control, std::uint32_t megabytes) {
    char line[64];
    std::snprintf(line, sizeof(line), "%d %s", static_cast<int>(megabytes),
                  CatalogText(IDS_MEGABYTES));
    SetDlgItemTextA(page, control, line);
}

// Rounded down, like the test that led here.
void SetSizes(HWND page) {
    SetMegabytes(page, IDC_TOO_LARGE_IMAGE_SIZE, State.Image.ImageSizeKB / 1024);
    SetMegabytes(page, IDC_TOO_LARGE_FLASH_SIZE, State.Handheld.FlashSizeMB);
}

constexpr PageText FileExistsTexts[] = {
    {IDC_FILE_EXISTS_HEADING, IDS_WARNING_112_HEADING, TextMark::Heading},
    {IDC_FILE_EXISTS_TEXT, IDS_WARNING_112_TEXT},
    {IDOK, IDS_NEXT},
    {IDCANCEL, IDS_CANCEL},
};

constexpr PageResult FileExistsResults[] = {{IDOK, FileExistsReplace},
                                            {IDCANCEL, FileExistsChooseOther}};

constexpr PageText ActiveSyncVersionTexts[] = {
    {IDC_ACTIVESYNC_HEADING, IDS_ERROR_115_HEADING, TextMark::Heading},
    {IDC_ACTIVESYNC_TEXT, IDS_ERROR_115_TEXT},
    {IDC_ACTIVESYNC_HINT, IDS_QUIT_HINT},
    {IDC_ACTIVESYNC_QUIT, IDS_QUIT},
};

// Escape and the close box do nothing here.
constexpr PageResult ActiveSyncVersionResults[] = {{IDC_ACTIVESYNC_QUIT, 1}};

} // namespace

constinit const Page IncompatibleImagePage = {.dialog = IDD_INCOMPATIBLE_IMAGE,
                                              .texts = IncompatibleImageTexts,
                                              .results = Quit,
                                              .colours = MismatchColours,
                                              .open = SetLanguageLines,
                                              .message = ForgetMismatch};
constinit const Page ConnectionErrorPage = {
    .dialog = IDD_CONNECTION_ERROR, .texts = ConnectionErrorTexts, .results = Quit};
constinit const Page ChecksumErrorPage = {
    .dialog = IDD_CHECKSUM_ERROR, .texts = ChecksumErrorTexts, .results = Quit};
constinit const Page ImageMissingPage = {
    .dialog = IDD_IMAGE_MISSING, .texts = ImageMissingTexts, .results = Quit};
constinit const Page ImageOpenErrorPage = {
    .dialog = IDD_IMAGE_OPEN_ERROR, .texts = ImageOpenErrorTexts, .results = Quit};
constinit const Page PortErrorPage = {
    .dialog = IDD_PORT_ERROR, .texts = PortErrorTexts, .results = Quit};
constinit const Page RemoteProgramErrorPage = {
    .dialog = IDD_REMOTE_PROGRAM_ERROR, .texts = RemoteProgramErrorTexts, .results = Quit};
constinit const Page BackupSpaceErrorPage = {
    .dialog = IDD_BACKUP_SPACE_ERROR, .texts = BackupSpaceErrorTexts, .results = Quit};
constinit const Page ModuleDataErrorPage = {.dialog = IDD_MODULE_DATA_ERROR,
                                            .texts = ModuleDataErrorTexts,
                                            .results = ModuleDataErrorResults,
                                            .keepsFocus = true};
constinit const Page BackupFailedPage = {
    .dialog = IDD_BACKUP_FAILED, .texts = BackupFailedTexts, .results = Quit};
constinit const Page ImageTooLargePage = {
    .dialog = IDD_IMAGE_TOO_LARGE, .texts = ImageTooLargeTexts, .results = Quit, .open = SetSizes};
constinit const Page FileExistsPage = {
    .dialog = IDD_FILE_EXISTS, .texts = FileExistsTexts, .results = FileExistsResults};
constinit const Page ActiveSyncVersionPage = {.dialog = IDD_ACTIVESYNC_VERSION,
                                              .texts = ActiveSyncVersionTexts,
                                              .results = ActiveSyncVersionResults};
