#include "moduleobjectcount.h"

namespace {

LONG volatile g_moduleObjectCount = 0;

}  // namespace

LONG ModuleObjectCount() { return InterlockedCompareExchange(&g_moduleObjectCount, 0, 0); }
void IncrementModuleObjectCount() { InterlockedIncrement(&g_moduleObjectCount); }
void DecrementModuleObjectCount() { InterlockedDecrement(&g_moduleObjectCount); }
