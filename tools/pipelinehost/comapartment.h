// A host thread in the multithreaded apartment, for as long as it holds COM objects.
#pragma once

#include <objbase.h>

namespace pipelinehost {

class ComApartment {
public:
    ComApartment();
    ~ComApartment();
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;

private:
    HRESULT hr_;
};

}  // namespace pipelinehost
