// The buffer that a receive loop and the sender share: the latest burst from the device.
//
// Every byte is an atomic, so a sender may look at any time. Storing and clearing have a lock: a
// bootloader's text may go on while the sender, who has seen enough of it, clears the buffer. A
// zero byte ends the text that a sender looks at, and a zero always follows the last byte
// stored.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

// Whether exactly this token is at the offset, with its zero behind it.
bool HoldsToken(std::uint8_t token, std::size_t offset = 0);

// Whether the text occurs anywhere before the first zero.
bool HoldsText(std::string_view text);

void ClearReceivedToken(); // bytes 0 and 1, and the cursor back to the start
void ClearReceiveBuffer(); // all of it, and the cursor

// Bytes stored at most: a zero follows.
constexpr std::size_t MaxReceived = 999;

// A whole burst, of MaxReceived bytes or fewer, into a buffer that is clear. The first byte goes
// last: a sender that sees it sees the whole burst.
void StoreBurst(std::span<const std::uint8_t> burst);

// One byte at the cursor, which moves on. A full buffer loses its oldest bytes: a prompt is found
// at the end of a banner of any length. A zero byte is left out, since it would hide what follows.
void StoreReceivedText(std::uint8_t value);
