// The one record. It is filled with zero at load; the two values that start otherwise say so
// where they are declared.

#include "state/state.h"

WizardState State;
