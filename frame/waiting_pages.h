// The two pages that stand while the wizard works and do not block.
#pragma once

#include "frame/page.h"

extern const Page BusyPage;
extern const Page PreparePage;
