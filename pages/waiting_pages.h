// The two pages that stand while the wizard works and do not block.
#pragma once

#include "pages/frame.h"

extern const Page BusyPage;
extern const Page PreparePage;
