// The two failures of a transfer, whose pages release the link as they open.
#pragma once

#include "frame/page.h"

extern const Page UpgradeErrorPage;       // 113
extern const Page CommunicationErrorPage; // 114: marks the progress record with Critical
