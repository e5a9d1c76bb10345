// The loops that listen to the flash link while a transfer runs. The sender never reads the port:
// it polls the buffer that these fill.
#pragma once

#include <windows.h>

// Waits 20000 ms, opens the port and starts the receive loop of the selected link. True when the
// loop has come up (it may have ended again: a lost device). False: the port could not be opened,
// PortErrorPage has been shown and the run is over. Any thread.
bool StartReceive();

// Starts a loop on a thread and waits until it has come up. The thread's handle is kept in
// State.Link.ReceiveThread if `keepThread`, else closed.
void StartReceiveLoop(DWORD(WINAPI* loop)(LPVOID), bool keepThread);

// Thread bodies.
DWORD WINAPI SerialReceiveLoop(LPVOID);
DWORD WINAPI UsbReceiveLoop(LPVOID);
DWORD WINAPI BootloaderReceiveLoop(LPVOID);

// What each loop does first: its record and event, and the word that it runs.
void PrepareReceiveRecord();
void MarkReceiveRunning();
// The word to its starter: from now on a byte of the device is noticed, or none ever will be.
// Before that the sender must not ask for one: an answer that is quicker than the event mask has no
// event.
void SignalReceiveReady();

// Closes ReceiveEvent and ReceiveThread, each if it is open.
void CloseReceiveHandles();
