#include "pipelinehost/comapartment.h"

namespace pipelinehost {

ComApartment::ComApartment() : hr_(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}

ComApartment::~ComApartment()
{
    // Only a successful initialisation is balanced; a thread already in another apartment keeps it.
    if (SUCCEEDED(hr_)) {
        CoUninitialize();
    }
}

}  // namespace pipelinehost
