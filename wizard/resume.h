// A run that finds no handheld: an interrupted upgrade is sent again, from what its
// record kept and with no question asked of the handheld.
#pragma once

// Main thread, after the wait for a handheld has run out. The run is over when it returns.
void GoOnWithoutHandheld();
