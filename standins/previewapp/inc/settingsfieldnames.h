// The names under which the settings record's fields are shown and reported.
#pragma once

#include <cstddef>
#include <vector>

#include "morvikrecord.h"

namespace previewapp {

struct SettingsFieldName {
    MorvikField index;
    const char* key;    // report key, camel case
    const char* label;  // what a person reads
};

// Every named field of the record, in record order.
const std::vector<SettingsFieldName>& SettingsFieldNames();

}  // namespace previewapp
