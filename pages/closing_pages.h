// The two pages after a good transfer.
#pragma once

#include "frame/page.h"

// Takes the link down as it opens.
extern const Page UpgradeDonePage;
enum UpgradeDoneResult : INT_PTR {
    UpgradeDoneNext = 0, // ActiveSync has been started
    UpgradeDoneLeave = 1,
};

// The last page of a good run, from that of two twin templates which suits the link. Nothing
// depends on its result.
const Page& FinishPage();
