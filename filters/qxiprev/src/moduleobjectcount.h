// Live class factories, live filters and locked factories of the module; the module may unload
// when it is zero.
#pragma once

#include <windows.h>

LONG ModuleObjectCount();
void IncrementModuleObjectCount();
void DecrementModuleObjectCount();
