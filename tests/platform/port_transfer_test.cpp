// Bytes through a port, both ways.
// label: threads

#include "tests/platform/port_fixture.h"

#include <array>
#include <atomic>
#include <memory>
#include <thread>

namespace {

using namespace port_test;

using PortTransferTest = PortTest;

TEST_F(PortTransferTest, writes_arrive_whole_and_in_order_at_a_slow_reader) {
    Open();
    const std::string bytes = Pattern(12288 + 0x20000 + 1);
    const std::array<DWORD, 4> lengths = {12288, 0x20000, 0, 1};
    std::array<Call, 4> calls;
    const char* next = bytes.data();
    for (std::size_t i = 0; i < lengths.size(); ++i) {
        ASSERT_TRUE(Pends(WriteFile(port, next, lengths[i], nullptr, &calls[i].record)));
        next += lengths[i];
    }
    EXPECT_FALSE(calls[1].IsSignalled()); // more than any tty takes while nobody reads
    EXPECT_TRUE(bytes == ReadAsDevice(bytes.size(), 333));
    for (std::size_t i = 0; i < lengths.size(); ++i) {
        ASSERT_TRUE(calls[i].Ends());
        EXPECT_EQ(DWORD{ERROR_SUCCESS}, calls[i].Error());
        EXPECT_EQ(lengths[i], calls[i].Count());
    }
}

TEST_F(PortTransferTest, a_read_without_limits_waits_for_all_its_bytes) {
    Open();
    std::string first(6000, '\0'); // more than the driver's queue
    char second[3] = {};
    Call one, other;
    ASSERT_TRUE(Pends(ReadFile(port, first.data(), 6000, nullptr, &one.record)));
    ASSERT_TRUE(Pends(ReadFile(port, second, 3, nullptr, &other.record)));
    const std::string sent = Pattern(6003);
    WriteAsDevice(std::string_view(sent).substr(0, 6001));
    ASSERT_TRUE(one.Ends());
    EXPECT_FALSE(other.IsSignalled());
    WriteAsDevice(std::string_view(sent).substr(6001));
    ASSERT_TRUE(other.Ends());
    EXPECT_TRUE(sent == first + std::string(second, 3));
    EXPECT_EQ(6000U, one.Count());
    EXPECT_EQ(3U, other.Count());
}

TEST_F(PortTransferTest,
       reads_at_once_lose_nothing_and_bytes_that_nobody_reads_hold_the_sender_back) {
    Open();
    ReadAtOnce();
    char byte = 0;
    DWORD count = 7;
    Call call;
    EXPECT_TRUE(ReadFile(port, &byte, 1, &count, &call.record)) << "without waiting for one";
    EXPECT_EQ(0U, count);
    EXPECT_TRUE(call.IsSignalled());
    const std::string sent = Pattern(100000);
    std::atomic<bool> over = false;
    std::thread sender([&] {
        WriteAsDevice(sent);
        over = true;
    });
    std::string got = ReadFromPort(1);
    EXPECT_FALSE(over);
    got += ReadFromPort(sent.size() - got.size());
    sender.join();
    EXPECT_TRUE(sent == got);
}

TEST_F(PortTransferTest, a_record_belongs_to_its_caller_again_once_its_event_is_signalled) {
    Open();
    std::thread device_([this] { ReadAsDevice(3000); });
    for (int round = 0; round < 3000; ++round) {
        auto call = std::make_unique<Call>();
        ASSERT_TRUE(Pends(WriteFile(port, "x", 1, nullptr, &call->record)));
        ASSERT_TRUE(call->Ends());
    }
    device_.join();
}

} // namespace
