// The two pages that are on the screen while the wizard works. They do not block.
#pragma once

#include "frame/page.h"

extern const Page BusyPage;
extern const Page PreparePage;
