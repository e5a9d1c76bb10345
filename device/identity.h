// What the handheld is: model, version and language from its asset file, flash size from a probe
// program that is pushed to it. Main thread.
#pragma once

// True when DeviceModel, DeviceVersionText and DeviceLanguage are set; false also for an asset file
// too short for them. A language code that is none of the eight is no failure.
bool ReadAssetData();

// True when FlashSizeMB is set and the probe's result file removed. Gives up after 60 s without a
// result file.
bool ReadFlashSize();
