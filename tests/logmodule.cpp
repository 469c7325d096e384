// A loadable module with its own copy of the driver log, as the filter module has: loading it and
// calling RunModuleLog starts its log and leaves the writer running. ModuleLogCanUnload is its
// DllCanUnloadNow: the writer is drained and ended there, so that the unload waits for nothing.
#include <thread>
#include <vector>

#include "qxdrvlogger.h"

extern "C" __attribute__((visibility("default"))) void RunModuleLog(int threads, int count)
{
    QXDrvLogger::Initialize(L"C:\\QX Inc\\Calvost");
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back([t, count] {
            for (int i = 0; i < count; ++i) {
                QXLOG_INFO(L"module t=%d i=%d", t, i);
            }
        });
    }
    for (auto& worker : workers) {
        worker.join();
    }
}

extern "C" __attribute__((visibility("default"))) void ModuleLogCanUnload()
{
    QXDrvLogger::Suspend([] { return true; });
}
