// Classes that the platform itself serves through CoCreateInstance.
#pragma once

#include <vector>

#include "objbase.h"

namespace platform {

struct BuiltInClass {
    CLSID clsid;
    IUnknown* (*create)();  // a new instance holding one reference, or null
};

std::vector<BuiltInClass> BuiltInClasses();

IUnknown* NewXpsOMObjectFactory();
IUnknown* NewDomDocument60();
IUnknown* NewBidiSpl();

}  // namespace platform
