// The bidi spooler object the host registers where Wine has none (CLSID_BidiSpl, IBidiSpl2).
#pragma once

#include <windows.h>
#include <objbase.h>

// A class object that makes IBidiSpl2 objects; the caller owns one reference.
IClassFactory* NewBidiSplClass();
