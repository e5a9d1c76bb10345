// The handheld's own menu setting that must not survive an upgrade.
#pragma once

// Blanks the value CoolMenu of ControlPanel\Menus to one zero byte. A value that cannot be read or
// is blank already stays as it is.
void ClearCoolMenu();
