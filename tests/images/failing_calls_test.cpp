// Each call of the system with which an image or a list is read or written fails once, and so does
// each piece of memory: what did not come or go is never taken for what was asked for.

#include "images/checksum.h"
#include "images/discovery.h"
#include "images/header.h"
#include "images/image_writer.h"
#include "images/module_list.h"
#include "state/handles.h"
#include "testing/image_file.h"
#include "testing/preload/call_report.h"
#include "testing/wizard_fixture.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <optional>
#include <set>
#include <vector>

namespace {

using namespace test_support;

class FailingCalls : public WizardTest {
protected:
    void SetUp() override {
        WizardTest::SetUp();
        WriteFileBytes(path_, file_);
        SetText(State.Paths.ImagePath, name_);
    }

    // Does the work once for each call of it that can fail, with that one failing, and then once
    // with none. What it gives is judged behind it.
    template <class Work, class Judge>
    static void Walk(Work work, Judge judge) {
        for (std::size_t kind = 0; kind < CallKinds; ++kind) {
            const bool moves =
                kind == std::size_t(CallKind::Read) || kind == std::size_t(CallKind::Write);
            for (const int how : {EIO, moves ? ShortCall : ENOMEM}) {
                bool met = true;
                for (unsigned number = 1; met; ++number) {
                    CallReport report = {};
                    FailCall(&report, static_cast<CallKind>(kind), number, how);
                    decltype(work()) result{};
                    try {
                        result = work();
                    } catch (const std::bad_alloc&) {
                    }
                    FailCall(nullptr);
                    met = report.failed > 0;
                    SCOPED_TRACE(testing::Message() << "kind " << kind << ", call " << number);
                    judge(result, met ? std::optional(static_cast<CallKind>(kind)) : std::nullopt);
                }
            }
        }
    }

    const std::filesystem::path path_ = Folder() / "module.dat"; // an image, and a list
    const std::string name_ = WindowsPathOf(path_);
    const std::string body_ = std::string(0x40000, '1') + "\r\n";
    const std::string file_ = HeaderFor("TOLKP1000-ENG-1.14", body_) + body_;
};

TEST_F(FailingCalls, give_no_header_and_no_sum_and_no_size_but_the_files) {
    const auto sum = SumImage(OpenForReading(name_.c_str()).Get());
    Walk(
        [&] {
            State.Image = {};
            return LoadImageHeader(name_.c_str(), &State.Image);
        },
        [](bool loaded, auto) {
            EXPECT_STREQ(loaded ? "1.14" : "", State.Image.ImageVersionText);
        });
    Walk([&] { return SumImage(OpenForReading(name_.c_str()).Get()); },
         [&](const auto& found, auto) { EXPECT_EQ(sum, found.value_or(*sum)); });
    Walk([&] { return SizeOfFile(name_.c_str()); },
         [&](const auto& size, auto) { EXPECT_EQ(file_.size(), size.value_or(file_.size())); });
}

TEST_F(FailingCalls, write_no_image_that_verifies_and_is_not_whole) {
    const std::vector<std::uint8_t> body(5000, '1');
    const std::string whole = HeaderFor("TOLKP1000-ENG-1.14", std::string(5000, '1'));
    std::filesystem::remove(path_);
    Walk(
        [&] {
            ImageWriter writer;
            return writer.Create(name_.c_str()) && writer.Append(body, body.size()) &&
                   writer.Finish({"TOLKP1000", "ENG", "1.14"});
        },
        [&](bool written, auto failed) {
            const std::string found = ReadBytes(path_);
            EXPECT_EQ(written || failed == CallKind::Close, IsWholeImage(found));
            EXPECT_FALSE(written && failed == CallKind::Sync);
            EXPECT_TRUE(!written || found == whole + std::string(5000, '1'));
            std::filesystem::remove(path_);
        });
}

TEST_F(FailingCalls, leave_a_list_that_is_carried_out_or_missing_or_unreadable) {
    std::set<ModuleList> results;
    Walk([] { return RemoveModulesOfFolder(); },
         [&](ModuleList result, auto) { results.insert(result); });
    EXPECT_EQ((std::set{ModuleList::Removed, ModuleList::Missing, ModuleList::Unreadable}),
              results);
}

} // namespace
