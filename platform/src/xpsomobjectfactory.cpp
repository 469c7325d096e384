// The XPS object model's factory.
#include <new>

#include <xpsobjectmodel.h>

#include "builtinclasses.h"
#include "platform/comobject.h"

namespace platform {
namespace {

class XpsOMObjectFactory : public ComObject<XpsOMObjectFactory, IXpsOMObjectFactory> {};

}  // namespace

IUnknown* NewXpsOMObjectFactory() { return static_cast<IXpsOMObjectFactory*>(new (std::nothrow) XpsOMObjectFactory); }

}  // namespace platform
