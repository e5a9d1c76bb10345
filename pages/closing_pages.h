// The two pages after a good transfer.
#pragma once

#include "frame/page.h"

extern const Page UpgradeDonePage; // takes the link down; 0 Next (ActiveSync started), 1 leave

INT_PTR ShowFinishPage(); // of the two twin templates that of the link in use
