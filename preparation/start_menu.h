// The handheld's application links: which folder they lie in depends on the layout of the image
// that is about to be written, and their names and folders on its language.
#pragma once

#include "preparation/layout.h"

// Best effort: no step's result is looked at. An image language without a row changes nothing.
void MigrateStartMenu(Layout layout);
