#include "builtinclasses.h"

#include <xpsobjectmodel.h>

namespace platform {

std::vector<BuiltInClass> BuiltInClasses() { return {{CLSID_XpsOMObjectFactory, NewXpsOMObjectFactory}}; }

}  // namespace platform
