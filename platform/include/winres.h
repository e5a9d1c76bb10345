// Styles and standard ids of windows, dialogs and controls: the part of the Windows headers that a
// resource script needs too, so it holds nothing but numbers.
#pragma once

#define WS_OVERLAPPED 0x00000000
#define WS_POPUP 0x80000000
#define WS_CHILD 0x40000000
#define WS_VISIBLE 0x10000000
#define WS_DISABLED 0x08000000
#define WS_CLIPSIBLINGS 0x04000000
#define WS_CAPTION 0x00C00000
#define WS_BORDER 0x00800000
#define WS_DLGFRAME 0x00400000
#define WS_SYSMENU 0x00080000
#define WS_THICKFRAME 0x00040000
#define WS_GROUP 0x00020000
#define WS_TABSTOP 0x00010000
#define WS_MINIMIZEBOX 0x00020000
#define WS_MAXIMIZEBOX 0x00010000
#define WS_OVERLAPPEDWINDOW                                                                        \
    (WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX)

#define DS_SETFONT 0x40
#define DS_MODALFRAME 0x80
#define DS_SETFOREGROUND 0x200
#define DS_CENTER 0x800

#define BS_PUSHBUTTON 0x00000000
#define BS_DEFPUSHBUTTON 0x00000001
#define BS_AUTOCHECKBOX 0x00000003
#define BS_AUTORADIOBUTTON 0x00000009
#define BS_TYPEMASK 0x0000000F

#define SS_CENTER 0x00000001
#define SS_RIGHT 0x00000002
#define SS_TYPEMASK 0x0000001F
#define SS_NOPREFIX 0x00000080
#define SS_CENTERIMAGE 0x00000200

#define IDOK 1
#define IDCANCEL 2
#ifndef IDC_STATIC
#define IDC_STATIC (-1)
#endif
