// The part of Windows that the wizard and its cradle use, for hosts without it. Names, values,
// sizes and meanings are those that Microsoft documents; what no caller needs is not here. Each
// header below says what it covers. A resource script gets the styles alone.
#pragma once

#ifdef RC_INVOKED
#include "winres.h"
#else
#include <windef.h>

#include <commapi.h>
#include <libloaderapi.h>
#include <winbase.h>
#include <wingdi.h>
#include <winnls.h>
#include <winreg.h>
#include <winuser.h>
#endif
