#include "builtinclasses.h"

#include <bidispl.h>
#include <msxml6.h>
#include <xpsobjectmodel.h>

namespace platform {

std::vector<BuiltInClass> BuiltInClasses()
{
    return {
        {CLSID_XpsOMObjectFactory, NewXpsOMObjectFactory},
        {CLSID_DOMDocument60, NewDomDocument60},
        {CLSID_BidiSpl, NewBidiSpl},
    };
}

}  // namespace platform
