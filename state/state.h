// The one record of all wizard-wide values, zero at load but for two of them.
//
// The whole wizard runs on the main thread but for the transfer's worker, its receive loop, the
// backup worker and the power watch. A plain value has one writer at a time and is written before
// the thread that reads it starts; what several threads touch while they run is atomic here.
// Nothing else in the program changes while it runs, but for the texts of frame/catalog.cpp, which
// are filled once, and what rapi/rapi_dll.cpp shares with RAPI.
#pragma once

#include <windows.h>

#include "rapi/rapi.h"
#include "state/lock.h"

#include <array>
#include <atomic>
#include <cstdint>

// Main thread, except that pages publish themselves before they start a thread that needs them.
struct WindowValues {
    HINSTANCE AppInstance;      // set by CreateMainWindow
    HWND MainWindow;            // keeps its value after the window is destroyed
    HDC ScreenDC;               // from creation to destruction of MainWindow
    HDC BannerDC;               // memory context that holds BannerBitmap
    HBITMAP BannerBitmap;       // the picture at the left of each page
    HWND BusyPage, PreparePage; // the two pages that do not block
    std::atomic<HWND> ProgressPage, BackupPage, ProgressBar;
    std::atomic<HWND> PowerWarningPage;
};

// Paths and names on the PC, 8-bit text in the ANSI code page. Written by the start-up and the
// chain, but for two: a resumed run's worker asks for the port's name once more, and
// BackupChoicePage sets BackupPath.
struct PathValues {
    // Working directory at start, not the folder of the program. Empty where it could not be read:
    // then there are no files beside the wizard.
    char AppDirectory[260];
    char LanguageFolder[20];    // sub-folder for the handheld's language, or empty
    char ImagePath[260];        // full path of the image being worked on
    char DefaultImagePath[260]; // full path of the image found in the language folder
    char BackupPath[260];
    char SerialPortName[32]; // with its trailing colon, such as "COM1:"; empty: none found
};

// What the handheld says of itself, or what the progress record kept of it.
struct HandheldValues {
    char DeviceModel[15];
    char DeviceLanguage[10];
    char DeviceVersionText[20];
    std::uint8_t FlashSizeMB;              // unknown until an image has been verified
    std::atomic<std::uint8_t> PowerStatus; // first byte of the last reading; 1: external power
};

// The header of the image read last, and the size of the image that is going to be sent: from the
// listing of the language folder at first and on resume, from the file once one has been chosen.
struct ImageValues {
    char ImageModel[10];
    char ImageLanguage[4];
    char ImageVersionText[5];
    float ImageVersion;
    char ImageChecksumText[5];
    char ImageLanguageName[9]; // keeps its old value for a code that is none of the eight
    std::uint32_t ImageSizeKB; // file size in units of 1024 bytes, rounded down
};

// Course of the run.
struct RunValues {
    bool ResumePending;      // an upgrade was started earlier and has not finished
    bool BootloaderResume;   // and it failed so late that only the bootloader can take the image
    bool SerialLinkSelected; // else USB
    bool ModelMismatch, LanguageMismatch; // which lines IncompatibleImagePage marks; it clears them
    bool UpgradeUnderway;                 // PrepareDevice does nothing without it
    std::atomic<bool> BackupDone;
    std::atomic<bool> RunEnded;       // no page comes up any more
    std::atomic<bool> MainWindowGone; // it has been destroyed, and its handle may be another's
    std::atomic<bool> BusyCursor{true};
    std::atomic<bool> TransferAborted;
    // Image bytes not yet sent. Before the first block this counts as much left to send.
    std::atomic<std::uint32_t> BytesRemaining{0x60000};
    std::atomic<bool> FlasherAnswered; // token 5 has come: the flasher is there
};

enum class TransferVerdict { Open, Sent, Stalled };

constexpr std::size_t ReceiveBufferSize = 1000;

// The flash link. LinkHandle, ReceiveEvent and ReceiveThread are closed once by whoever comes
// first: always under LinkLock, set to 0 in the same step. Calls on LinkHandle are started under
// LinkLock too, so that none meets a handle that has just been closed; they are waited for outside.
struct LinkValues {
    Lock LinkLock;
    HANDLE LinkHandle;
    HANDLE ReceiveThread;
    HANDLE ReceiveEvent;
    OVERLAPPED ReceiveOverlapped; // the receive loop's alone
    std::atomic<bool> StopReceive;
    std::atomic<bool> ReceiveRunning;
    std::atomic<bool> ReceiveCameUp; // as above, but stays when a loop has ended at once
    // The latest burst from the device; zeros behind it. A receive loop fills it, a sender reads
    // and clears it. At most 999 bytes of data, so that a zero always follows.
    std::array<std::atomic<std::uint8_t>, ReceiveBufferSize> ReceiveBuffer;
    std::atomic<std::size_t> ReceiveCursor;
    Lock BufferLock; // for storing into the two and clearing them
    // Counts the sender's looks at the buffer, each before it is made: a loop that sees it grow by
    // two knows that one whole look has come in between.
    std::atomic<std::uint32_t> SenderLooks;
    // Buffers and file of the transfer: the sender's while SenderRuns; see link/transfer_buffers.h.
    std::atomic<bool> SenderRuns;
    std::uint8_t* TransferBufferA;
    std::uint8_t* TransferBufferB;
    HANDLE ImageFile;
    std::uint32_t ImageBytesUnread; // of ImageFile, by its size at opening; the sender's alone
    // Decided once: by the sender's last step or by a stall timer, whichever comes first. The lock
    // is for these two and BytesRemaining alone and is never held across a call of the system: the
    // timer must come through while a driver or a disk blocks the sender.
    Lock VerdictLock;
    TransferVerdict Verdict;
};

struct WizardState {
    WindowValues Windows;
    PathValues Paths;
    HandheldValues Handheld;
    ImageValues Image;
    RunValues Run;
    LinkValues Link;
    RapiInitRecord RapiInit;
};

extern WizardState State;
