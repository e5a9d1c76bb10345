// The buffer between a receive loop and the sender, in bursts of any size: a token or a word is
// found where a plain search finds it in what came since the buffer was cleared. Of a long text the
// end is kept, at least 64 bytes and at most all that fits.

#include "link/receive_buffer.h"

#include "link/bootloader_message.h"
#include "state/state.h"
#include "tests/fuzz/target.h"

using fuzz::Require;

namespace {

void CheckBurst(fuzz::Bytes burst) {
    ClearReceiveBuffer();
    StoreBurst(burst);
    const auto byteAt = [&](std::size_t at) { return at < burst.size() ? burst[at] : 0; };
    for (std::size_t at = 0; at <= burst.size() && at < MaxReceived; ++at)
        for (std::uint8_t token = 1; token <= 5; ++token)
            Require(HoldsToken(token, at) == (byteAt(at) == token && byteAt(at + 1) == 0));
    ClearReceivedToken();
    Require(!HoldsToken(1) && !HoldsToken(4) && State.Link.ReceiveCursor == 0);
    ClearReceiveBuffer();
}

void CheckText(const std::string& text) {
    const auto holds = [&](const char* word, std::size_t end) {
        return text.find(word, text.size() - std::min(text.size(), end)) != text.npos;
    };
    for (const char* word : {"download", "\1", "\2"})
        Require(HoldsText(word) ? holds(word, MaxReceived) : !holds(word, 64));
    const BootloaderMessage message = ReceivedMessage(); // the furthest that it has got
    Require((message == BootloaderMessage::ImageRecordWanted) == HoldsText("\1"));
    Require(message != BootloaderMessage::Prompt || !HoldsText("\2"));
    Require(message != BootloaderMessage::None || !HoldsText("download"));
    Require(State.Link.ReceiveBuffer[MaxReceived] == 0);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input{{data, size}};
    std::string text;
    for (ClearReceiveBuffer(); !input.left.empty();) {
        const std::uint8_t step = input.Byte();
        const auto bytes =
            input.Take(std::min((1 + std::size_t{input.Byte()}) << step % 4, MaxReceived));
        if (step >= 0xF0) {
            CheckBurst(bytes);
            text.clear();
            continue;
        }
        for (const std::uint8_t byte : bytes) {
            StoreReceivedText(byte);
            text.append(byte != 0, static_cast<char>(byte));
        }
        CheckText(text);
    }
    return 0;
}
