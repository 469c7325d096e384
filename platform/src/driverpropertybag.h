// The version-4 driver property bag object that the pipeline hands a driver's filters.
#pragma once

#include <map>
#include <string>

#include "platform/simulatedmachine.h"

struct IPrinterPropertyBag;

namespace platform {

// A new object holding one reference, starting with the given values.
IPrinterPropertyBag* NewDriverPropertyBagObject(std::map<std::wstring, DriverPropertyValue> values);

}  // namespace platform
