// What a sender may find in the buffer that a receive loop fills.

#include "link/receive_buffer.h"

#include "link/bootloader_message.h"
#include "state/state.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

void Store(const std::string& bytes) {
    const std::vector<std::uint8_t> burst(bytes.begin(), bytes.end());
    StoreBurst(burst);
}

void StoreText(const std::string& bytes) {
    for (char one : bytes)
        StoreReceivedText(static_cast<std::uint8_t>(one));
}

class ReceiveBuffer : public testing::Test {
protected:
    void SetUp() override { ClearReceiveBuffer(); }
};

TEST_F(ReceiveBuffer, a_token_counts_only_with_a_zero_behind_it) {
    Store("\4");
    EXPECT_TRUE(HoldsToken(4));
    EXPECT_FALSE(HoldsToken(5));
    Store("\4\4"); // two in one burst
    EXPECT_FALSE(HoldsToken(4));
    EXPECT_TRUE(HoldsToken(4, 1));
}

TEST_F(ReceiveBuffer, the_longest_burst_leaves_a_zero_at_the_end) {
    Store(std::string(MaxReceived, 'x'));
    EXPECT_EQ(0, State.Link.ReceiveBuffer[ReceiveBufferSize - 1]);
    EXPECT_EQ('x', State.Link.ReceiveBuffer[ReceiveBufferSize - 2]);
}

TEST_F(ReceiveBuffer, a_prompt_is_found_behind_a_banner_of_any_length) {
    for (std::size_t banner = 0; banner < 2100; ++banner) {
        ClearReceiveBuffer();
        StoreText(std::string(banner, '=') + "download");
        ASSERT_TRUE(HoldsText("download")) << "behind " << banner << " bytes";
    }
}

// The first is what the bootloader has got furthest with.
TEST_F(ReceiveBuffer, of_several_messages_the_image_record_is_answered_first_and_the_prompt_last) {
    StoreText("download");
    EXPECT_EQ(BootloaderMessage::Prompt, ReceivedMessage());
    StoreText("\2");
    EXPECT_EQ(BootloaderMessage::BlockWanted, ReceivedMessage());
    StoreText("\1");
    EXPECT_EQ(BootloaderMessage::ImageRecordWanted, ReceivedMessage());
}

TEST_F(ReceiveBuffer, a_zero_in_the_banner_does_not_hide_the_prompt) {
    StoreText(std::string("ready\0\0", 7) + "download");
    EXPECT_TRUE(HoldsText("download"));
    EXPECT_FALSE(HoldsText("\x01"));
}

} // namespace
