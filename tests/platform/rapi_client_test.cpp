// RAPI calls over a real socket whose other end answers late, or never.
// label: threads

#include "rapi/rapi.h"

#include "platform/base/descriptor.h"
#include "platform/kernel/handles.h"
#include "testing/test_home.h"

#include <rapi_wire.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <future>

#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using platform::Descriptor;
using test_support::HomeOfTests;

// The test's thread answers for the handheld.
class RapiTest : public testing::Test {
protected:
    // Slow, so that a call that waits for its deadline shows: it has no end within this test.
    RapiTest() {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        const std::string path = HomeOfTests().Home() / "rapi.sock";
        std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
        unlink(address.sun_path);
        EXPECT_EQ(0, bind(listener_.Number(), reinterpret_cast<const sockaddr*>(&address),
                          sizeof(address)));
        EXPECT_EQ(0, listen(listener_.Number(), 4));
        setenv("ROM_WIZARD_CLOCK", "0.01", 1);
    }
    ~RapiTest() override { CeRapiUninit(); }

    bool IsConnected(DWORD wait = 0) const {
        return WaitForSingleObject(RapiEvent(init_), wait) == WAIT_OBJECT_0;
    }
    void AwaitRequest() const {
        char request[100];
        EXPECT_LT(0, recv(handheld_.Number(), request, sizeof(request), 0));
    }
    void Answer() const {
        const auto answer = rapi_wire::Writer().Number(0).Number(1).Frame();
        EXPECT_LT(0, send(handheld_.Number(), answer.data(), answer.size(), MSG_NOSIGNAL));
    }
    void Connect() {
        ASSERT_EQ(0, CeRapiInitEx(&init_));
        ASSERT_FALSE(IsConnected());
        handheld_ = Descriptor(accept4(listener_.Number(), nullptr, nullptr, SOCK_CLOEXEC));
        AwaitRequest();
        Answer();
        EXPECT_TRUE(IsConnected(60000));
    }
    static std::future<BOOL> BeginCall() {
        return std::async(std::launch::async, [] { return CeDeleteFile(u"\\a"); });
    }

    RapiInitRecord init_ = {sizeof(init_), 0, 0};
    const Descriptor listener_{socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    Descriptor handheld_;
};

TEST_F(RapiTest, an_init_after_a_lost_connection_makes_another_with_the_same_event) {
    Connect();
    const std::uint32_t event = init_.event;
    auto call = BeginCall();
    AwaitRequest();
    handheld_ = Descriptor();
    EXPECT_FALSE(call.get());
    Connect();
    EXPECT_EQ(event, init_.event);
    ASSERT_EQ(0, CeRapiInitEx(&init_));
    EXPECT_TRUE(IsConnected()) << "one that is there stays";
}

TEST_F(RapiTest, a_handheld_that_answers_has_its_time_however_fast_the_clock_is) {
    setenv("ROM_WIZARD_CLOCK", "1e6", 1); // 30 microseconds
    Connect();
    auto call = BeginCall();
    AwaitRequest();
    EXPECT_EQ(std::future_status::timeout, call.wait_for(std::chrono::milliseconds(50)));
    Answer();
    EXPECT_TRUE(call.get());
}

TEST_F(RapiTest, an_uninit_ends_a_call_that_is_never_answered) {
    Connect();
    auto call = BeginCall();
    AwaitRequest();
    CeRapiUninit();
    EXPECT_FALSE(call.get());
}

} // namespace
