// The platform's file dialogs as the wizard uses them: ROM images, "nbf" as the extension.
#pragma once

#include <windows.h>

// An existing file to restore from. True with the full path in the buffer; false when the user
// cancelled. The working directory stays as it was.
bool AskForImageFile(HWND owner, char (&path)[260]);

// A file to write a backup to; `path` proposes a name. No question about an existing file.
bool AskForBackupFile(HWND owner, char (&path)[260]);
