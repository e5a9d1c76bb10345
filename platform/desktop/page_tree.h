// The tree of a page that a screen reader walks. On the toolkit's thread alone.
#pragma once

#include "platform/windows/drawing.h"

#include <vector>

class QWidget;

namespace platform::desktop {

// Puts the controls on the surface of a page in the order in which they lie on it, from top to
// bottom. Once, before anybody has asked for the surface's place in the tree.
void UsePageTree(QWidget* surface);

// Leaves a control of such a surface out: another one's name has its words.
void LeaveOutOfTree(QWidget* control);

// Puts the pictures of such a surface among its controls, in place of those before: each whose SVG
// has a title, which says what it shows. Any other is a decoration and stays out.
void ShowInTree(QWidget* surface, const std::vector<PaintedPicture>& pictures);

} // namespace platform::desktop
