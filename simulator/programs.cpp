// What the programs on the handheld do when they are started.

#include "simulator/programs.h"

#include "simulator/agents.h"
#include "simulator/device_errors.h"
#include "simulator/device_paths.h"
#include "simulator/images.h"
#include "simulator/wire.h"

#include "platform/base/text.h"

#include <chrono>
#include <cstdio>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace simulator {

namespace {

constexpr std::u16string_view AssetFile = u"\\Windows\\nvnAssetData.dat";
constexpr std::size_t AssetFileSize = 12288;
constexpr std::size_t ModelOffset = 152; // bytes into the asset file
constexpr std::size_t VersionOffset = 2556;
constexpr std::u16string_view TypeFile = u"\\temp\\type.dat";
constexpr std::u16string_view PieceFile = u"\\Temp\\image.nb";
constexpr std::u16string_view BackupProgramPath = u"\\Temp\\sarvel.exe";
constexpr auto BackupPieceTime = std::chrono::milliseconds(5);

constexpr std::uint32_t ErrorAsResult = 0x80070000; // HRESULT of an error code

bool IsNamed(std::u16string_view path, std::string_view name) {
    return SameName(BareName(path), platform::Utf16FromUtf8(name));
}

void PutUtf16(Bytes& file, std::size_t at, const std::string& text) {
    for (std::size_t unit = 0; unit < text.size(); ++unit)
        file[at + 2 * unit] = static_cast<std::uint8_t>(text[unit]);
}

} // namespace

Programs::Programs(Context context, std::function<void(LinkKind)> enterFlasher)
    : context_(context), enterFlasher_(std::move(enterFlasher)) {}

Programs::~Programs() { StopPiece(); }

std::uint32_t Programs::Start(std::u16string_view program, std::u16string_view commandLine) {
    const auto file = context_.files.Load(program);
    if (!file)
        return error::FileNotFound;
    for (const std::string& refused : context_.faults.refusedPrograms) {
        if (IsNamed(program, refused))
            return error::OutOfMemory;
    }
    const auto isWhole = [&](std::string_view name) {
        return IsNamed(program, name) && IsWholeAgent(*file, name);
    };
    if (isWhole(IdentityProgram))
        WriteAssetFile();
    else if (isWhole(FlashSizeProgram))
        WriteTypeFile();
    else if (isWhole(BackupProgram))
        StartBackup();
    else if (isWhole(FlashProgram))
        StartFlasher(commandLine);
    else {
        context_.report.PrintRefusal(platform::Utf8FromUtf16(program) + ": no whole program");
        return error::BadProgram;
    }
    return error::Success;
}

void Programs::WriteAssetFile() {
    const Identity identity = context_.folder.CurrentIdentity();
    Bytes file(AssetFileSize);
    PutUtf16(file, ModelOffset, identity.model);
    PutUtf16(file, VersionOffset, FullVersion(identity.version) + " " + identity.language);
    context_.files.Store(AssetFile, file);
}

void Programs::WriteTypeFile() {
    if (context_.faults.noTypeFile)
        return;
    const Bytes file = {1, static_cast<std::uint8_t>(context_.folder.FlashSize() >> 20)};
    if (!context_.files.Store(TypeFile, file))
        context_.report.PrintRefusal(std::string(FlashSizeProgram) + ": there is no \\temp");
}

void Programs::StartBackup() {
    StopPiece();
    backupOffset_ = 0;
    BeginPiece();
}

// The file is there at once, but nobody else can open it until the piece is whole.
void Programs::BeginPiece() {
    if (*backupOffset_ + BackupPieceSize > context_.folder.FlashSize()) {
        backupOffset_.reset();
        return;
    }
    if (PieceNumber() == context_.faults.pieceNever)
        return;
    const Outcome file = context_.files.Open(PieceFile, WriteAccess, 0, CreateAlways, 0);
    if (file.error != error::Success)
        return;
    piece_ = file.value;
    lateTries_ = 0;
    if (PieceNumber() != context_.faults.pieceLate)
        pieceTimer_ = context_.loop.After(BackupPieceTime, [this] { FinishPiece(); });
}

void Programs::FinishPiece() {
    Bytes piece(BackupPieceSize);
    const Descriptor flash = OpenHost(context_.folder.Flash(), O_RDONLY);
    const auto offset = static_cast<off_t>(backupOffset_.value_or(0));
    if (pread(flash.Number(), piece.data(), piece.size(), offset) !=
        static_cast<ssize_t>(piece.size()))
        FailOn("read", context_.folder.Flash());
    if (PieceNumber() == context_.faults.pieceShort)
        piece.resize(piece.size() / 2);
    context_.files.Write(*piece_, piece);
    StopPiece();
    context_.report.Print("sarvel: piece at " + Hex(static_cast<std::uint32_t>(offset)));
    backupOffset_ = static_cast<std::uint64_t>(offset) + BackupPieceSize;
}

// Closes the file of the piece, which may not be whole.
void Programs::StopPiece() {
    context_.loop.Cancel(pieceTimer_);
    if (piece_)
        context_.files.Close(*std::exchange(piece_, std::nullopt));
}

// The PC ends a backup by deleting the program, and then the piece that it does not want any more.
// A program that went on writing would keep that file from being deleted, and leave it behind.
void Programs::EndBackup() {
    const bool begun = piece_.has_value();
    StopPiece();
    if (begun)
        context_.files.Delete(PieceFile);
    backupOffset_.reset();
}

void Programs::HandleDeletion(std::u16string_view path) {
    if (Fold(path) == Fold(BackupProgramPath))
        EndBackup();
    else if (backupOffset_ && Fold(path) == Fold(PieceFile))
        BeginPiece();
}

void Programs::HandleOpening(std::u16string_view path) {
    if (piece_ && PieceNumber() == context_.faults.pieceLate && Fold(path) == Fold(PieceFile) &&
        ++lateTries_ == context_.faults.pieceTries)
        FinishPiece();
}

std::uint32_t Programs::PieceNumber() const {
    return static_cast<std::uint32_t>(backupOffset_.value_or(0) / BackupPieceSize) + 1;
}

// Three characters: code 1 for the serial end or 2 for USB, a blank, and U for an upgrade. The
// program starts whatever they are; that it does nothing is its own affair.
void Programs::StartFlasher(std::u16string_view commandLine) {
    const bool serial = commandLine == u"\x01 U";
    if (!serial && commandLine != u"\x02 U") {
        context_.report.PrintRefusal(std::string(FlashProgram) + ": wrong command line");
        return;
    }
    const std::string_view name = serial ? SerialFlasher : UsbFlasher;
    const auto file = context_.files.Load(u"\\Temp\\" + platform::Utf16FromUtf8(name));
    if (!file || !IsWholeAgent(*file, name)) {
        context_.report.PrintRefusal(std::string(FlashProgram) + ": \\Temp\\" + std::string(name) +
                                     " is not whole");
        return;
    }
    enterFlasher_(serial ? LinkKind::Serial : LinkKind::Usb);
}

std::uint32_t Programs::Invoke(std::u16string_view library, std::u16string_view function,
                               std::span<const std::uint8_t> input) {
    constexpr std::size_t RecordSize = 188; // TIME_ZONE_INFORMATION and SYSTEMTIME
    constexpr std::size_t TimeOffset = 172;
    const auto file = context_.files.Load(u"\\Windows\\" + std::u16string(library));
    if (!file)
        return ErrorAsResult | error::FileNotFound;
    if (!IsNamed(library, ClockLibrary) || !IsWholeAgent(*file, ClockLibrary)) {
        context_.report.PrintRefusal(platform::Utf8FromUtf16(library) + ": no whole library");
        return ErrorAsResult | error::BadProgram;
    }
    if (function != u"ClepsaSet" || input.size() != RecordSize) {
        context_.report.PrintRefusal("Clepsa.dll: no ClepsaSet with " +
                                     std::to_string(input.size()) + " bytes");
        return ErrorAsResult | error::InvalidParameter;
    }
    const auto field = [&](std::size_t at) { return input[at] | input[at + 1] << 8; };
    const auto bias = static_cast<std::int32_t>(static_cast<std::uint32_t>(field(0)) |
                                                static_cast<std::uint32_t>(field(2)) << 16);
    if (field(TimeOffset + 2) < 1 || field(TimeOffset + 2) > 12 || field(TimeOffset + 6) < 1 ||
        field(TimeOffset + 6) > 31 || field(TimeOffset + 8) > 23 || field(TimeOffset + 10) > 59 ||
        field(TimeOffset + 12) > 59) {
        context_.report.PrintRefusal("Clepsa.dll: no such time");
        return ErrorAsResult | error::InvalidParameter;
    }
    char text[80];
    std::snprintf(text, sizeof(text), "%04d-%02d-%02d %02d:%02d:%02d UTC, bias %d minutes",
                  field(TimeOffset), field(TimeOffset + 2), field(TimeOffset + 6),
                  field(TimeOffset + 8), field(TimeOffset + 10), field(TimeOffset + 12), bias);
    WriteWhole(context_.folder.Path("clock"), text + std::string("\n"));
    WriteWhole(context_.folder.Path("clock.record"), input);
    context_.report.Print("clock set to " + std::string(text));
    return 0;
}

} // namespace simulator
