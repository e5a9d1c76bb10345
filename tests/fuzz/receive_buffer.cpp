// The buffer between a receive loop and the sender, in bursts of any size: a token or a word is
// found where a plain search finds it in what came since the buffer was cleared. Of a long text the
// end is kept, at least 64 bytes and at most all that fits.

#include "link/receive_buffer.h"

#include "link/bootloader_message.h"
#include "state/state.h"
#include "tests/fuzz/target.h"

using fuzz::Require;

namespace {

constexpr std::size_t SurelyKept = 64;

void CheckBurst(std::span<const std::uint8_t> burst) {
    ClearReceiveBuffer();
    StoreBurst(burst);
    const auto byteAt = [&](std::size_t at) { return at < burst.size() ? burst[at] : 0; };
    for (std::size_t at = 0; at <= burst.size() && at < MaxReceived; ++at)
        for (std::uint8_t token = 1; token <= 5; ++token)
            Require(HoldsToken(token, at) == (byteAt(at) == token && byteAt(at + 1) == 0));
    const std::string text(burst.begin(), std::ranges::find(burst, 0));
    for (const char* word : {"download", "\1", "\2", "d", "ad\1"})
        Require(HoldsText(word) == (text.find(word) != text.npos));
}

void CheckText(const std::string& text) {
    const std::string end = text.substr(text.size() - std::min(text.size(), SurelyKept));
    const std::string most = text.substr(text.size() - std::min(text.size(), MaxReceived));
    for (const char* word : {"download", "\1", "\2", "d", "ad\1"}) {
        Require(HoldsText(word) || end.find(word) == end.npos);
        Require(!HoldsText(word) || most.find(word) != most.npos);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    std::string text;
    for (ClearReceiveBuffer(); !input.IsOver();) {
        const std::uint8_t step = input.Byte();
        const std::size_t count = std::min(std::size_t{input.Byte()} << step % 4, MaxReceived);
        if (step >= 0xF0) {
            CheckBurst(input.Bytes(count));
            ClearReceivedToken();
            Require(!HoldsToken(1) && State.Link.ReceiveCursor == 0);
            ClearReceiveBuffer();
            text.clear();
            continue;
        }
        for (const std::uint8_t byte : input.Bytes(count)) {
            StoreReceivedText(byte);
            if (byte != 0)
                text += static_cast<char>(byte);
        }
        CheckText(text);
        Require(State.Link.ReceiveBuffer[MaxReceived] == 0);
    }
    return 0;
}
