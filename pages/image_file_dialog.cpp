// Opening the file dialogs, both filled in the same way. The initial directory is handed over as it
// stands, unexpanded; a dialog that does not know it starts where it likes.

#include "pages/image_file_dialog.h"

#include <commdlg.h>

namespace {

constexpr char Filter[] = "ROM image (*.nbf)\0*.nbf\0All files (*.*)\0*.*\0";

OPENFILENAMEA ImageFileDialog(HWND owner, char (&path)[260], DWORD flags) {
    OPENFILENAMEA dialog = {};
    dialog.lStructSize = OPENFILENAME_SIZE_VERSION_400A;
    dialog.hwndOwner = owner;
    dialog.lpstrFilter = Filter;
    dialog.lpstrFile = path;
    dialog.nMaxFile = sizeof(path);
    dialog.lpstrInitialDir = "%USERPROFILE%\\My Documents";
    dialog.lpstrDefExt = "nbf";
    dialog.Flags = flags;
    return dialog;
}

} // namespace

bool AskForImageFile(HWND owner, char (&path)[260]) {
    OPENFILENAMEA dialog = ImageFileDialog(owner, path, OFN_FILEMUSTEXIST | OFN_NOCHANGEDIR);
    return GetOpenFileNameA(&dialog) != FALSE;
}

bool AskForBackupFile(HWND owner, char (&path)[260]) {
    OPENFILENAMEA dialog = ImageFileDialog(owner, path, OFN_NOCHANGEDIR);
    return GetSaveFileNameA(&dialog) != FALSE;
}
