// The end of the user's session, as the rest of the program hears of it.
#pragma once

namespace platform {

// Asks the program's top-level windows, as Windows does when the user logs off: WM_QUERYENDSESSION
// to each until one refuses, and WM_ENDSESSION with the outcome to those that have been asked.
// True: the session may end, and the process with it. Windows that do not answer within five
// seconds of the host count as agreeing. Any thread that owns no window; with nothing held.
bool MaySessionEnd();

} // namespace platform
