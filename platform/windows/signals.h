// The signals of a user at the terminal: Ctrl-C, Ctrl-\, Ctrl-Z, and the end of the terminal
// itself; and SIGTERM.
#pragma once

namespace platform {

// Keeps these signals from ending or stopping the process; they wait for ServeSignals. Before the
// first thread is started, as threads inherit it. Those that were ignored (nohup) stay so.
void BlockSignals();

// Starts the thread that serves them, for as long as the process lives. Once, after BlockSignals
// and when the display is there.
void ServeSignals();

} // namespace platform
