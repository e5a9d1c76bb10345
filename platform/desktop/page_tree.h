// The tree of a page that a screen reader walks. On the toolkit's thread alone.
#pragma once

class QWidget;

namespace platform::desktop {

// Puts the controls on the surface of a page in the order in which they lie on it, from top to
// bottom. Once, before anybody has asked for the surface's place in the tree.
void UsePageTree(QWidget* surface);

// Leaves a control of such a surface out: another one's name has its words.
void LeaveOutOfTree(QWidget* control);

} // namespace platform::desktop
