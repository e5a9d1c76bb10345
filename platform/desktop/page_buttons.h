// The buttons of a page, with the keys and clicks of a dialog of Windows where the toolkit has
// others.
#pragma once

#include "platform/windows/controls.h"

class QAbstractButton;
class QWidget;

namespace platform::desktop {

// A push button, check box or radio button, by its kind; any other kind has none. It belongs to
// `page`. All radio buttons of a page are one group.
QAbstractButton* MakePageButton(ControlKind kind, QWidget* page);

} // namespace platform::desktop
