// The raw port of the flash link: opened exclusively, 115200 baud, 8N1, no flow control.
#pragma once

#include <windows.h>

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string_view>

// Opens and configures the link into State.Link.LinkHandle. False: PortErrorPage has been shown,
// PreparePage ended, ProgressPage hidden, and the run is over. Where a resumed run of a USB link
// ends so for the second time, and only the held-back block was left, the page that leads to the
// bootloader follows. Any thread.
bool OpenLinkPort(const char* portName);

// Sends all bytes in writes of at most 12288, in order, and returns when the last has been handed
// over; one thread at a time. False when one was not: that goes unnoticed while a token has yet to
// come, since a device that got less stays silent. A write that never completes has two ways out:
// StopReceive, and a limit of a minute.
bool WriteLink(std::span<const std::uint8_t> bytes);
bool WriteLink(std::string_view bytes);
bool WriteLinkNumbers(std::initializer_list<std::uint32_t> numbers); // little endian

// Waits until the driver has sent what was handed to it, on the thread of the sender. False when
// the transfer has been given up meanwhile: the stall timer, which still runs, bounds the wait. A
// driver that cannot be asked counts as done.
bool AwaitOutputSent();

// Closes the port if it is open; whatever waits on it comes back.
void CloseLinkPort();

// The device name of the port: "COM1:" gives "\\.\COM1", an empty name counts as "COM1:", and a
// USB link has the driver's name whatever the port name says.
void FormatPortName(const char* portName, bool serial, char (&name)[48]);
