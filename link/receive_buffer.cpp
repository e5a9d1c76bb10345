// Storing bursts and text in the buffer, and finding tokens and words in it. Stores and loads are
// sequentially consistent: a sender that sees a token sees the zero behind it as well.

#include "link/receive_buffer.h"

#include "state/state.h"

#include <mutex>

namespace {

constexpr std::size_t KeptTail = 64; // longer than anything that is looked for

std::uint8_t ByteAt(std::size_t offset) { return State.Link.ReceiveBuffer[offset]; }

// Moves the last bytes to the start and zeroes the rest.
void KeepTail() {
    for (std::size_t offset = 0; offset < KeptTail; ++offset)
        State.Link.ReceiveBuffer[offset] = ByteAt(MaxReceived - KeptTail + offset);
    for (std::size_t offset = KeptTail; offset < ReceiveBufferSize; ++offset)
        State.Link.ReceiveBuffer[offset] = 0;
    State.Link.ReceiveCursor = KeptTail;
}

bool HoldsTextAt(std::string_view text, std::size_t offset) {
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (ByteAt(offset + index) != static_cast<std::uint8_t>(text[index]))
            return false;
    }
    return true;
}

} // namespace

bool HoldsToken(std::uint8_t token, std::size_t offset) {
    return ByteAt(offset) == token && ByteAt(offset + 1) == 0;
}

bool HoldsText(std::string_view text) {
    for (std::size_t offset = 0; offset + text.size() <= MaxReceived && ByteAt(offset) != 0;
         ++offset) {
        if (HoldsTextAt(text, offset))
            return true;
    }
    return false;
}

void ClearReceivedToken() {
    const std::lock_guard lock(State.Link.BufferLock);
    State.Link.ReceiveBuffer[0] = 0;
    State.Link.ReceiveBuffer[1] = 0;
    State.Link.ReceiveCursor = 0;
}

void ClearReceiveBuffer() {
    const std::lock_guard lock(State.Link.BufferLock);
    for (auto& slot : State.Link.ReceiveBuffer)
        slot = 0;
    State.Link.ReceiveCursor = 0;
}

void StoreBurst(std::span<const std::uint8_t> burst) {
    const std::lock_guard lock(State.Link.BufferLock);
    State.Link.ReceiveCursor = burst.size();
    for (std::size_t offset = burst.size(); offset-- > 0;)
        State.Link.ReceiveBuffer[offset] = burst[offset];
}

void StoreReceivedText(std::uint8_t value) {
    if (value == 0)
        return;
    const std::lock_guard lock(State.Link.BufferLock);
    if (State.Link.ReceiveCursor >= MaxReceived)
        KeepTail();
    const std::size_t cursor = State.Link.ReceiveCursor;
    State.Link.ReceiveBuffer[cursor] = value;
    State.Link.ReceiveCursor = cursor + 1;
}
