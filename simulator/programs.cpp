// What the programs on the handheld do when they are started.

#include "simulator/programs.h"

#include "platform/text.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace simulator {

namespace {

constexpr std::u16string_view AssetFile = u"\\Windows\\nvnAssetData.dat";
constexpr std::size_t AssetFileSize = 12288;
constexpr std::size_t ModelAt = 152; // bytes into the asset file
constexpr std::size_t VersionAt = 2556;
constexpr std::u16string_view TypeFile = u"\\temp\\type.dat";
constexpr std::u16string_view PieceFile = u"\\Temp\\image.nb";
constexpr std::u16string_view BackupProgramPath = u"\\Temp\\sarvel.exe";
constexpr std::uint64_t BackupPieceSize = 0x40000;
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

Programs::Programs(World world, std::function<void(LinkKind)> enterFlasher)
    : world_(world), enterFlasher_(std::move(enterFlasher)) {}

Programs::~Programs() { StopPiece(); }

std::uint32_t Programs::Start(std::u16string_view program, std::u16string_view commandLine) {
    const auto file = world_.files.Load(program);
    if (!file)
        return error::FileNotFound;
    for (const std::string& refused : world_.faults.refusedPrograms) {
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
        world_.report.Refuse(platform::Utf8FromUtf16(program) + ": no whole program");
        return error::BadProgram;
    }
    return error::Success;
}

void Programs::WriteAssetFile() {
    const Identity identity = world_.folder.WhoItIs();
    Bytes file(AssetFileSize);
    PutUtf16(file, ModelAt, identity.model);
    PutUtf16(file, VersionAt, FullVersion(identity.version) + " " + identity.language);
    if (world_.faults.assetZero)
        file.at(VersionAt + 2 * std::size_t{*world_.faults.assetZero}) = 0;
    if (world_.faults.assetSize)
        file.resize(*world_.faults.assetSize);
    world_.files.Store(AssetFile, file);
}

void Programs::WriteTypeFile() {
    if (world_.faults.noTypeFile)
        return;
    const Bytes file = {1, static_cast<std::uint8_t>(world_.folder.FlashSize() >> 20)};
    if (!world_.files.Store(TypeFile, file))
        world_.report.Refuse(std::string(FlashSizeProgram) + ": there is no \\temp");
}

void Programs::StartBackup() {
    StopPiece();
    backupOffset_ = 0;
    BeginPiece();
}

// The file stands there at once, but the program keeps it to itself until the piece is whole.
void Programs::BeginPiece() {
    if (*backupOffset_ + BackupPieceSize > world_.folder.FlashSize()) {
        backupOffset_.reset();
        return;
    }
    if (PieceNumber() == world_.faults.pieceNever)
        return;
    const Outcome file = world_.files.Open(PieceFile, WriteAccess, 0, CreateAlways, 0);
    if (file.error != error::Success)
        return;
    piece_ = file.value;
    lateTries_ = 0;
    if (PieceNumber() != world_.faults.pieceLate)
        pieceTimer_ = world_.loop.After(BackupPieceTime, [this] { FinishPiece(); });
}

void Programs::FinishPiece() {
    Bytes piece(BackupPieceSize);
    const Descriptor flash = OpenHost(world_.folder.Flash(), O_RDONLY);
    const auto offset = static_cast<off_t>(backupOffset_.value_or(0));
    if (pread(flash.Number(), piece.data(), piece.size(), offset) !=
        static_cast<ssize_t>(piece.size()))
        FailOn("read", world_.folder.Flash());
    if (PieceNumber() == world_.faults.pieceShort)
        piece.resize(piece.size() / 2);
    world_.files.Write(*piece_, piece);
    StopPiece();
    world_.report.Say("sarvel: piece at " + Hex(static_cast<std::uint32_t>(offset)));
    backupOffset_ = static_cast<std::uint64_t>(offset) + BackupPieceSize;
}

// Whole or not, the piece is in nobody's hands any more.
void Programs::StopPiece() {
    world_.loop.Cancel(pieceTimer_);
    if (piece_)
        world_.files.Close(*std::exchange(piece_, std::nullopt));
}

// The PC ends a backup by deleting the program, and then the piece that it does not want any more.
// A program that went on writing would keep that file from being deleted, and leave it behind.
void Programs::EndBackup() {
    const bool begun = piece_.has_value();
    StopPiece();
    if (begun)
        world_.files.Delete(PieceFile);
    backupOffset_.reset();
}

void Programs::Deleted(std::u16string_view path) {
    if (Fold(path) == Fold(BackupProgramPath))
        EndBackup();
    else if (backupOffset_ && Fold(path) == Fold(PieceFile))
        BeginPiece();
}

void Programs::Opening(std::u16string_view path) {
    if (piece_ && PieceNumber() == world_.faults.pieceLate && Fold(path) == Fold(PieceFile) &&
        ++lateTries_ == world_.faults.pieceTries)
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
        world_.report.Refuse(std::string(FlashProgram) + ": wrong command line");
        return;
    }
    const std::string_view name = serial ? SerialFlasher : UsbFlasher;
    const auto file = world_.files.Load(u"\\Temp\\" + platform::Utf16FromUtf8(name));
    if (!file || !IsWholeAgent(*file, name)) {
        world_.report.Refuse(std::string(FlashProgram) + ": \\Temp\\" + std::string(name) +
                             " is not whole");
        return;
    }
    enterFlasher_(serial ? LinkKind::Serial : LinkKind::Usb);
}

std::uint32_t Programs::Invoke(std::u16string_view library, std::u16string_view function,
                               std::span<const std::uint8_t> input) {
    constexpr std::size_t RecordSize = 188; // TIME_ZONE_INFORMATION and SYSTEMTIME
    constexpr std::size_t TimeAt = 172;
    const auto file = world_.files.Load(u"\\Windows\\" + std::u16string(library));
    if (!file)
        return ErrorAsResult | error::FileNotFound;
    if (!IsNamed(library, ClockLibrary) || !IsWholeAgent(*file, ClockLibrary)) {
        world_.report.Refuse(platform::Utf8FromUtf16(library) + ": no whole library");
        return ErrorAsResult | error::BadProgram;
    }
    if (function != u"ClepsaSet" || input.size() != RecordSize) {
        world_.report.Refuse("Clepsa.dll: no ClepsaSet with " + std::to_string(input.size()) +
                             " bytes");
        return ErrorAsResult | error::InvalidParameter;
    }
    const auto field = [&](std::size_t at) { return input[at] | input[at + 1] << 8; };
    const auto bias = static_cast<std::int32_t>(static_cast<std::uint32_t>(field(0)) |
                                                static_cast<std::uint32_t>(field(2)) << 16);
    if (field(TimeAt + 2) < 1 || field(TimeAt + 2) > 12 || field(TimeAt + 6) < 1 ||
        field(TimeAt + 6) > 31 || field(TimeAt + 8) > 23 || field(TimeAt + 10) > 59 ||
        field(TimeAt + 12) > 59) {
        world_.report.Refuse("Clepsa.dll: no such time");
        return ErrorAsResult | error::InvalidParameter;
    }
    char text[80];
    std::snprintf(text, sizeof(text), "%04d-%02d-%02d %02d:%02d:%02d UTC, bias %d minutes",
                  field(TimeAt), field(TimeAt + 2), field(TimeAt + 6), field(TimeAt + 8),
                  field(TimeAt + 10), field(TimeAt + 12), bias);
    WriteWhole(world_.folder.Path("clock"), text + std::string("\n"));
    WriteWhole(world_.folder.Path("clock.record"), input);
    world_.report.Say("clock set to " + std::string(text));
    return 0;
}

} // namespace simulator
