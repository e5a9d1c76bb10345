// Starting a program on the handheld.
#pragma once

// Starts it shown, with an empty command line, and waits for nothing. False when it did not start.
bool StartRemoteProgram(const char16_t* path);
