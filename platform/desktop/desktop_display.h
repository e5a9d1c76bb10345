// The display with real widgets, for a desktop.
//
// The toolkit owns the process's first thread. Every change of the model is passed to that
// thread and shown there in the order in which it happened; nobody waits for it, so the picture
// stays alive while the program blocks, and the program goes on while the picture is drawn.
#pragma once

namespace platform {

class Display;

// The one display, made on the first thread with the toolkit's application already there; it lives
// as long as the process.
Display& DesktopDisplay();

} // namespace platform
