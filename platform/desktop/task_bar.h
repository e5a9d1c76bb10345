// Progress beside the program's name in the desktop's task bar.
#pragma once

namespace platform::desktop {

// By the signal of the launcher interface, which docks and task bars of several desktops listen
// to: com.canonical.Unity.LauncherEntry, its Update. Nobody needs to hear it.
class TaskBar {
public:
    void Show(double part); // 0 to 1
    void Clear();

private:
    void Send(bool visible, double part);

    int percent_ = -1; // as sent last; -1: nothing is shown
};

} // namespace platform::desktop
