// What the wizard must know of the PC it runs on, read from the registry. Nothing is changed.
#pragma once

bool ActiveSyncVersionOk(); // 3.5 or later
bool IsWindows95();
bool IsOldWindowsNT(); // 3.51 or 4.0

// Writes the name of ActiveSync's serial port with a colon behind it ("COM1:") into the buffer;
// an empty text when there is none or when the run needs none.
void ReadSerialPortName(char (&buffer)[32]);
