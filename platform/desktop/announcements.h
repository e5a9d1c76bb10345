// Which changes on pages a screen reader is told of. On the toolkit's thread alone.
#pragma once

namespace platform::desktop {

// From now on a progress bar is announced at every tenth of the way, the texts beside one not at
// all, since they change with it, and any other when it has changed. All give their present values
// to whoever asks for them. A window that was there before the toolkit had found a screen reader is
// announced once more. May be called again.
void ControlAnnouncements();

} // namespace platform::desktop
