// Files that open and then fail, sizes that are none, and memory that cannot be had: what did not
// come is never taken for what was asked for.

#include "images/checksum.h"
#include "images/discovery.h"
#include "images/header.h"
#include "images/image_writer.h"
#include "images/module_list.h"
#include "link/backup_transfer.h"
#include "link/image_source.h"
#include "link/wire.h"
#include "state/handles.h"
#include "testing/wizard_fixture.h"

#include <cerrno>
#include <new>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

// A call of the system that goes well so many times and then fails once.
struct FailingCall {
    int good = -1; // below 0: it does not fail

    bool Fails() { return good >= 0 && good-- == 0; }
};

FailingCall measuring, reading, seeking, writing, allocating;
ssize_t failedRead = -1; // or 0, the end of the file

} // namespace

// These replace the C library's.
extern "C" {
int fstat(int file, struct stat* status) noexcept {
    errno = EIO;
    return measuring.Fails() ? -1 : fstatat(file, "", status, AT_EMPTY_PATH);
}
ssize_t read(int file, void* bytes, size_t size) {
    errno = EIO;
    return reading.Fails() ? failedRead : syscall(SYS_read, file, bytes, size);
}
off_t lseek(int file, off_t offset, int origin) noexcept {
    errno = EIO;
    return seeking.Fails() ? -1 : syscall(SYS_lseek, file, offset, origin);
}
ssize_t write(int file, const void* bytes, size_t size) { // which takes nothing, and no error
    return writing.Fails() ? 0 : syscall(SYS_write, file, bytes, size);
}
}

#ifndef THREAD_SANITIZER // which has its own, and under which these tests do not run
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocating.Fails() ? nullptr : operator new[](size);
}
#endif

namespace {

using Piece = std::vector<std::uint8_t>;

class FailingFile : public WizardTest {
protected:
    void SetUp() override {
        WizardTest::SetUp();
        WriteFileBytes(path_, std::string(MinImageFileSize, '1') + "\r\n"); // an image and a list
        SetText(State.Paths.ImagePath, name_);
    }
    void TearDown() override { measuring = reading = seeking = writing = allocating = {}; }

    const std::filesystem::path path_ = Folder() / "module.dat";
    const std::string name_ = WindowsPathOf(path_);
};

TEST_F(FailingFile, that_cannot_be_measured_has_no_size_and_no_list_and_is_not_sent) {
    measuring.good = 1; // by the opening
    EXPECT_FALSE(SizeOfFile(name_.c_str()));
    measuring.good = 1;
    EXPECT_EQ(ModuleList::Unreadable, RemoveModulesOfFolder());
    measuring.good = 1;
    EXPECT_EQ(0U, OpenTransferImage(0));
    OwnedObject(std::exchange(State.Link.ImageFile, nullptr)).Close();
}

TEST_F(FailingFile, whose_header_or_list_cannot_be_read_has_none) {
    reading.good = 0;
    EXPECT_FALSE(LoadImageHeader(name_.c_str(), &State.Image));
    reading.good = 0;
    EXPECT_FALSE(SumImage(OpenForReading(name_.c_str()).Get()));
    for (const ssize_t failed : {0, -1}) {
        failedRead = failed;
        reading.good = 0;
        EXPECT_EQ(ModuleList::Removed, RemoveModulesOfFolder()); // of no names
    }
    reading.good = 1;
    EXPECT_FALSE(SumImage(OpenForReading(name_.c_str()).Get())); // behind its header
    State.Paths.AppDirectory[0] = '\0';
    EXPECT_EQ(ModuleList::Missing, RemoveModulesOfFolder());
}

TEST_F(FailingFile, without_memory_is_not_summed_nor_carried_out_nor_saved) {
    allocating.good = 0;
    EXPECT_FALSE(SumImage(OpenForReading(name_.c_str()).Get()));
    allocating.good = 0;
    EXPECT_EQ(ModuleList::Unreadable, RemoveModulesOfFolder());
    allocating.good = 0;
    EXPECT_EQ(BackupOutcome::Failed, SaveRom());
}

TEST_F(FailingFile, is_none_whose_size_is_the_failure_value) {
    std::filesystem::resize_file(path_, 0xFFFFFFFF);
    EXPECT_EQ(0xFFFFFFFFU, SizeOfFile(name_.c_str()));
    WriteFileBytes(path_, "");
    std::filesystem::resize_file(path_, 0xFFFFFFFE); // and a list in which no name ends
    EXPECT_EQ(ModuleList::Removed, RemoveModulesOfFolder());
}

class HugeList : public HandheldTest {};

TEST_F(HugeList, is_not_cut_where_its_size_in_32_bits_would_end) {
    Connect();
    WriteFileBytes(Device().File("Windows/two"), "module");
    WriteFileBytes(Folder() / "module.dat", "two.dll\r\n");
    std::filesystem::resize_file(Folder() / "module.dat", 0x100000003);
    EXPECT_EQ(ModuleList::Removed, RemoveModulesOfFolder());
    EXPECT_TRUE(IsOnDevice("Windows/two"));
}

// Behind the header, of a piece, back to the header, and of the header.
TEST_F(FailingFile, takes_no_image_that_it_cannot_write_whole) {
    const Piece piece(5000, 7);
    const ImageIdentity identity = {"TOLKP1000", "ENG", "1.14"};
    for (const int good : {0, 1}) {
        for (FailingCall* const call : {&seeking, &writing}) {
            ImageWriter writer;
            call->good = good;
            EXPECT_FALSE(writer.Create(name_.c_str()) && writer.Append(piece, piece.size()) &&
                         writer.Finish(identity));
            EXPECT_FALSE(ReadBytes(path_).starts_with("TOLK"));
        }
    }
    ImageWriter writer; // a piece that comes whole does not make up for one that did not
    EXPECT_TRUE(writer.Create(name_.c_str()) && writer.Append(Piece(0x10000), 0) &&
                writer.Append(piece, piece.size()) && writer.Finish(identity));
    EXPECT_TRUE(LoadImageHeader(name_.c_str(), &State.Image));
    EXPECT_NE(ParseChecksumText(State.Image.ImageChecksumText),
              SumImage(OpenForReading(name_.c_str()).Get()));
}

} // namespace
