// The sharing modes of the C runtime's _wfsopen (which winbase.h declares here, stdio.h on Windows).
#pragma once

#define _SH_DENYRW 0x10
#define _SH_DENYWR 0x20
#define _SH_DENYRD 0x30
#define _SH_DENYNO 0x40
