// RAPI calls over a real socket, with somebody at the other end who does not always behave.
// label: threads

#include "rapi/rapi.h"

#include "platform/base/descriptor.h"
#include "platform/kernel/handles.h"
#include "testing/comes_true.h"
#include "testing/test_home.h"

#include <rapi_wire.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <stdlib.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using platform::Descriptor;
using rapi_wire::Operation;
using rapi_wire::Reader;
using rapi_wire::Writer;
using test_support::HomeOfTests;

using Bytes = std::vector<std::uint8_t>;

constexpr DWORD Limit = 60000;

Writer Answer(std::uint32_t error, std::uint32_t result) {
    return Writer().Number(error).Number(result);
}

Bytes AnswerOne(Operation, Reader&) { return Answer(0, 1).Frame(); }

std::filesystem::path Socket() { return HomeOfTests().Home() / "rapi.sock"; }

// Whoever answers for the handheld, on a thread of its own. `answer` gets each request but the
// greeting, and gives the bytes to send; none end the connection.
class Cradle {
public:
    using Answerer = std::function<Bytes(Operation, Reader&)>;

    explicit Cradle(Answerer answer) : answer_(std::move(answer)) {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, Socket().c_str(), sizeof(address.sun_path) - 1);
        unlink(address.sun_path);
        listener_ = Descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        EXPECT_EQ(0, bind(listener_.Number(), reinterpret_cast<const sockaddr*>(&address),
                          sizeof(address)));
        EXPECT_EQ(0, listen(listener_.Number(), 4));
        thread_ = std::thread([this] { Run(); });
    }
    ~Cradle() {
        stop_ = true;
        shutdown(listener_.Number(), SHUT_RDWR);
        thread_.join();
        unlink(Socket().c_str());
    }

    std::atomic<int> connections = 0; // that have ended
    std::atomic<int> requests = 0;    // beside greetings

private:
    void Run() {
        while (!stop_) {
            const Descriptor client(accept4(listener_.Number(), nullptr, nullptr, SOCK_CLOEXEC));
            if (!client)
                return;
            const timeval lookForStop = {0, 10000};
            setsockopt(client.Number(), SOL_SOCKET, SO_RCVTIMEO, &lookForStop, sizeof(timeval));
            Serve(client.Number());
            ++connections;
        }
    }

    void Serve(int client) {
        for (Bytes answer = {0}; !answer.empty();) {
            const Bytes length = Receive(client, 4);
            if (length.empty())
                return;
            Reader request(Receive(client, Reader(length).Number()));
            const auto operation = static_cast<Operation>(request.Number());
            if (!request.Good())
                return;
            const bool greeting = operation == Operation::Hello;
            requests += greeting ? 0 : 1;
            answer = greeting ? AnswerOne(operation, request) : answer_(operation, request);
            send(client, answer.data(), answer.size(), MSG_NOSIGNAL);
        }
    }

    // All of them; or none where the connection ends, or the cradle is to stop.
    Bytes Receive(int client, std::size_t size) {
        Bytes bytes(size);
        for (std::size_t done = 0; done < size;) {
            const ssize_t count = recv(client, bytes.data() + done, size - done, 0);
            if (stop_ || count == 0 || (count < 0 && errno != EAGAIN))
                return {};
            done += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
        }
        return bytes;
    }

    Answerer answer_;
    Descriptor listener_;
    std::atomic<bool> stop_ = false;
    std::thread thread_;
};

class RapiTest : public testing::Test {
protected:
    // Slow, so that a call that waits for its deadline shows: it has no end within this test.
    RapiTest() {
        HomeOfTests();
        setenv("ROM_WIZARD_CLOCK", "0.01", 1);
    }
    ~RapiTest() override { CeRapiUninit(); }

    bool IsSignalled(DWORD wait = 0) const {
        return WaitForSingleObject(RapiEvent(init), wait) == WAIT_OBJECT_0;
    }

    RapiInitRecord init = {sizeof(init), 0, 0};
};

TEST_F(RapiTest, a_connection_that_drops_in_a_call_fails_it_and_all_later_ones) {
    const Cradle cradle([](Operation operation, Reader& request) {
        return operation == Operation::MoveFile ? Bytes() : AnswerOne(operation, request);
    });
    ASSERT_EQ(0, InitRapi(&init));
    const std::uint32_t event = init.event;
    EXPECT_TRUE(CeDeleteFile(u"\\a"));
    EXPECT_FALSE(CeMoveFile(u"\\a", u"\\b"));
    EXPECT_FALSE(CeDeleteFile(u"\\a"));
    EXPECT_EQ(CeInvalidHandle, CeCreateFile(u"\\a", 0x80000000, 1, 3, 0x80));
    EXPECT_EQ(0xFFFFFFFF, CeGetFileSize(5));
    CeKey key = 0;
    EXPECT_NE(0, CeRegOpenKeyEx(CeLocalMachine, u"Software", 0, &key));
    EXPECT_LT(CeRapiInvoke(u"a.dll", u"F", 0, nullptr), 0);
    EXPECT_EQ(2, cradle.requests);

    ASSERT_EQ(0, CeRapiInitEx(&init));
    EXPECT_EQ(event, init.event);
    EXPECT_TRUE(IsSignalled(Limit));
    EXPECT_TRUE(CeDeleteFile(u"\\a"));
}

TEST_F(RapiTest, the_last_error_is_left_alone_but_by_a_program_that_has_started) {
    std::atomic<std::uint32_t> result = 0;
    const Cradle cradle([&](Operation, Reader&) { return Answer(2, result).Frame(); });
    SetLastError(4711);
    ASSERT_EQ(0, InitRapi(&init));
    EXPECT_EQ(4711U, GetLastError());
    CeProcessInformation process = {1, 1, 1, 1};
    EXPECT_FALSE(CeCreateProcess(u"\\a.exe", u"", nullptr, &process));
    EXPECT_EQ(4711U, GetLastError());
    EXPECT_FALSE(CeDeleteFile(u"\\a"));
    EXPECT_EQ(4711U, GetLastError());
    result = 1;
    EXPECT_TRUE(CeDeleteFile(u"\\a"));
    EXPECT_EQ(4711U, GetLastError());
    EXPECT_TRUE(CeCreateProcess(u"\\a.exe", nullptr, nullptr, nullptr));
    EXPECT_EQ(0U, GetLastError());
}

TEST_F(RapiTest, a_handheld_that_answers_has_its_time_however_fast_the_clock_is) {
    setenv("ROM_WIZARD_CLOCK", "1e6", 1); // two microseconds
    const Cradle cradle(AnswerOne);
    ASSERT_EQ(0, InitRapi(&init));
    const std::uint32_t event = init.event;
    EXPECT_TRUE(CeDeleteFile(u"\\a"));
    ASSERT_EQ(0, InitRapi(&init));
    EXPECT_EQ(event, init.event);
    EXPECT_EQ(0, cradle.connections);
}

TEST_F(RapiTest, an_uninit_ends_a_call_that_is_never_answered) {
    std::atomic<bool> asked = false, leave = false;
    const Cradle cradle([&](Operation, Reader&) {
        asked = true;
        leave.wait(false);
        return Bytes();
    });
    ASSERT_EQ(0, InitRapi(&init));
    BOOL result = TRUE;
    std::thread caller([&] { result = CeDeleteFile(u"\\a"); });
    EXPECT_TRUE(test_support::ComesTrue([&] { return asked.load(); }));
    CeRapiUninit();
    caller.join();
    EXPECT_FALSE(result);
    leave = true;
    leave.notify_all();
}

} // namespace
