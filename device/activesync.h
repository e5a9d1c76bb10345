// Ending ActiveSync, which holds the port that the flash needs, and starting it again. Main thread;
// nothing is reported.
#pragma once

void StopActiveSync();
void StartActiveSync();
