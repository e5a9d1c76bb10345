// How a run ends.
//
// A step that cannot go on shows its page where the failure is met and ends the run through here,
// so that what belongs to an end comes in one order. The step then tells its caller that the run
// is over; nobody shows another page, as ShowPage shows none once MainWindow has gone.
//
// Two ends have an order of their own: a port that does not open (link/port.h), and a transfer that
// was given up, whose result leads the chain to its page.
//
// Everybody on the PC may post WM_CLOSE to MainWindow. The wizard's own carries a mark, so that no
// other one breaks a transfer off.
#pragma once

#include "frame/page.h"

struct RunEnd {
    bool uninitRapi = false; // the handheld is of no use to the wizard any more
    bool repaint = true;     // what lies below a transfer page, when that goes off the screen
};

// RAPI ended where `how` says so, ProgressPage or BackupPage off the screen if one is up, the page
// shown, and MainWindow closed. Any thread; returns when the user has left the page.
void EndRun(const Page& page, RunEnd how = {});

// The end without a page, when the user has left or has seen why: RAPI ended, MainWindow closed.
void LeaveRun();

// The end alone: WM_CLOSE to MainWindow, from any thread. No page comes up after it. Nothing
// happens where the run has ended already.
void CloseMainWindow();

// The same for a thread that cannot wait for the main one: posted, to be served by the page that
// the main thread is in. The chain shows no other page before.
void PostCloseMainWindow();

// First parameter of the wizard's own WM_CLOSE; that of anybody else's is 0.
constexpr WPARAM OwnClose = 0x524F4D57;

// Whether ProgressPage or BackupPage is up. As long as it is, nothing from outside ends the run:
// an upgrade that is broken off leaves a handheld without a system. Any thread.
bool TransferRuns();
