// The XPS object model's factory.
#include <new>

#include <xpsobjectmodel.h>

#include "builtinclasses.h"
#include "platform/comobject.h"
#include "xps/xpsfailure.h"
#include "xps/xpsomobjects.h"

namespace platform {
namespace {

class XpsOMObjectFactory : public ComObject<XpsOMObjectFactory, IXpsOMObjectFactory> {
public:
    // Objects are always reused: a package hands out one object per part.
    HRESULT CreatePackageFromFile(LPCWSTR filename, BOOL, IXpsOMPackage** package) override
    {
        return xps::Guarded([&] {
            if (package != nullptr) {
                *package = nullptr;
            }
            if (filename == nullptr || package == nullptr) {
                return E_POINTER;
            }
            *package = xps::OpenPackageFromFile(filename).Detach();
            return S_OK;
        });
    }

    HRESULT CreatePackageFromStream(IStream* stream, BOOL, IXpsOMPackage** package) override
    {
        return xps::Guarded([&] {
            if (package != nullptr) {
                *package = nullptr;
            }
            if (stream == nullptr || package == nullptr) {
                return E_POINTER;
            }
            *package = xps::OpenPackageFromStream(stream).Detach();
            return S_OK;
        });
    }
};

}  // namespace

IUnknown* NewXpsOMObjectFactory() { return static_cast<IXpsOMObjectFactory*>(new (std::nothrow) XpsOMObjectFactory); }

}  // namespace platform
