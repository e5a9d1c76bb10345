// RAPI, the remote interface to the handheld through ActiveSync: the calls that the wizard makes.
//
// On Windows rapi_dll.cpp finds them in ActiveSync's rapi.dll at run time; on other hosts the
// platform layer carries them over a socket. Everything is synchronous on the calling thread and
// may be called from any thread, but for init and uninit, which are the main thread's while none
// but the power watch makes calls.
//
// How long a call may take:
//   Windows      No limit of its own is published. A call ends when the handheld answers or when
//                the connection does: out of the cradle, out of reach, ActiveSync ended. One that
//                keeps its connection and never answers keeps the caller. The wizard sets no limit
//                either: a thread that was ended within the library would leave its locks behind,
//                and whatever was asked for could still happen. The way out is the user's, to
//                take the handheld out of its cradle.
//   other hosts  30 s of the layer's clock, and no less than 10 s of the host; then the call
//                fails, and the connection is given up. CeRapiUninit ends it at once.
//
// Texts are UTF-16, the registry root is HKEY_LOCAL_MACHINE of the
// handheld. What the handheld refuses is reported by the result alone: the PC's last-error value
// stays as it was. CeCreateProcess alone is an exception: one that started its program sets it to
// 0, and one whose connection broke before the answer, of which nobody knows whether it started, to
// ERROR_CONNECTION_ABORTED. Without a connection every call fails.
#pragma once

#include <windows.h>

#include <cstdint>

// The record of CeRapiInitEx. The event lives as long as the connection and belongs to RAPI; it is
// signalled once a handheld answers. Handles have 32 significant bits on every Windows.
struct RapiInitRecord {
    std::uint32_t size;  // set to 12 before each init
    std::uint32_t event; // filled in by the init
    std::int32_t result; // never read
};
static_assert(sizeof(RapiInitRecord) == 12);

inline HANDLE RapiEvent(const RapiInitRecord& record) {
    return reinterpret_cast<HANDLE>(static_cast<std::uintptr_t>(record.event));
}

// Handles and keys of the device, meaningless on the PC.
using CeHandle = std::uint32_t;
using CeKey = std::uint32_t;
constexpr CeHandle CeInvalidHandle = 0xFFFFFFFF;
constexpr CeKey CeLocalMachine = 0x80000002;

// The published start-up record with its 32-bit layout.
struct CeStartupInfo {
    std::uint32_t size; // 68
    std::uint32_t unused[10];
    std::uint32_t flags;    // 1: the show mode counts
    std::uint16_t showMode; // 5: shown
    std::uint16_t unused2;
    std::uint32_t unused3[4];
};
static_assert(sizeof(CeStartupInfo) == 68);

struct CeProcessInformation {
    std::uint32_t process, thread, processId, threadId;
};

// What a search gives; the two fields that are read. Attribute 16 is a directory.
struct CeFindData {
    std::uint32_t attributes;
    char16_t name[260];
};

// Published layout of the device's power report; the first byte is 1 on external power.
struct CePowerStatus {
    std::uint8_t acLine, batteryFlag, batteryLifePercent, reserved1;
    std::uint32_t batteryLifeTime, batteryFullLifeTime;
    std::uint8_t reserved2, backupFlag, backupLifePercent, reserved3;
    std::uint32_t backupLifeTime, backupFullLifeTime;
};
static_assert(sizeof(CePowerStatus) == 24);

// 0 on success. Returns at once; the connection comes up later, if a handheld answers: wait on the
// record's event. RAPI that was not ended since the last init stays as it is: that counts as a
// success too, with the same event. Without ActiveSync the event is one that is never signalled.
std::int32_t CeRapiInitEx(RapiInitRecord* record);
std::int32_t CeRapiUninit(); // harmless without an init

// CeRapiInitEx with its result, for who goes on without asking whether a handheld answers: sets the
// record's size and gives the connection up to two seconds to come up.
std::int32_t InitRapi(RapiInitRecord* record);

// Non-zero: started. The record may be null. The process is never waited on.
BOOL CeCreateProcess(const char16_t* program, const char16_t* commandLine,
                     const CeStartupInfo* startup, CeProcessInformation* process);

// CeInvalidHandle on failure.
CeHandle CeCreateFile(const char16_t* path, std::uint32_t access, std::uint32_t share,
                      std::uint32_t disposition, std::uint32_t attributes);
// Non-zero on success; *done is set in any case.
BOOL CeReadFile(CeHandle file, void* buffer, std::uint32_t count, std::uint32_t* done);
BOOL CeWriteFile(CeHandle file, const void* data, std::uint32_t count, std::uint32_t* done);
std::uint32_t CeGetFileSize(CeHandle file); // 0xFFFFFFFF on failure
BOOL CeCloseHandle(CeHandle file);

// Non-zero on success.
BOOL CeDeleteFile(const char16_t* path);
BOOL CeMoveFile(const char16_t* from, const char16_t* to);
BOOL CeCopyFile(const char16_t* from, const char16_t* to, BOOL failIfExists);
BOOL CeCreateDirectory(const char16_t* path);
BOOL CeRemoveDirectory(const char16_t* path);

// CeInvalidHandle when nothing matches; CeFindNextFile gives 0 at the end of the list.
CeHandle CeFindFirstFile(const char16_t* pattern, CeFindData* found);
BOOL CeFindNextFile(CeHandle search, CeFindData* found);
BOOL CeFindClose(CeHandle search);

// 0 is success. Type 1 is UTF-16 text whose size counts the terminator, type 4 a 32-bit number.
std::int32_t CeRegOpenKeyEx(CeKey root, const char16_t* key, std::uint32_t access, CeKey* opened);
std::int32_t CeRegCreateKeyEx(CeKey root, const char16_t* key, CeKey* opened,
                              std::uint32_t* disposition);
// *size: capacity in bytes on the way in, bytes stored on the way out.
std::int32_t CeRegQueryValueEx(CeKey key, const char16_t* name, void* buffer, std::uint32_t* size);
std::int32_t CeRegSetValueEx(CeKey key, const char16_t* name, std::uint32_t type, const void* data,
                             std::uint32_t size);
std::int32_t CeRegCloseKey(CeKey key);
std::int32_t CeRegDeleteKey(CeKey root, const char16_t* key); // with its values

// Non-zero: read.
BOOL CeGetSystemPowerStatusEx(CePowerStatus* status, BOOL update);

// Calls a function of a library on the device with a block of input.
std::int32_t CeRapiInvoke(const char16_t* library, const char16_t* function, std::uint32_t size,
                          const void* input);
