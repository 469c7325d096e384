#include "sharedlibrary.h"

#include <dlfcn.h>

#include "previewfailure.h"

namespace previewapp {

namespace {

std::string LastLoaderError()
{
    const char* error = dlerror();
    return error == nullptr ? std::string("unknown error") : std::string(error);
}

}  // namespace

SharedLibrary::SharedLibrary(const std::string& path)
    : m_path(path), m_handle(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL))
{
    if (m_handle == nullptr) {
        throw PreviewFailure(kExitLibrary, "cannot load " + path + ": " + LastLoaderError());
    }
}

SharedLibrary::~SharedLibrary()
{
    dlclose(m_handle);
}

void* SharedLibrary::Symbol(const char* name) const
{
    dlerror();
    void* address = dlsym(m_handle, name);
    if (address == nullptr) {
        throw PreviewFailure(kExitLibrary, m_path + " has no export " + name + ": " + LastLoaderError());
    }
    return address;
}

}  // namespace previewapp
