#include "pipelinehost/filtermodule.h"

#include <dlfcn.h>
#include <unistd.h>

#include <stdexcept>
#include <utility>

namespace pipelinehost {
namespace {

std::string LoaderError()
{
    const char* error = ::dlerror();
    return error == nullptr ? "unknown loader error" : error;
}

}  // namespace

std::string BesideHost(const std::string& name)
{
    std::string self(4096, '\0');
    const ssize_t length = ::readlink("/proc/self/exe", self.data(), self.size());
    if (length <= 0) {
        return name;
    }
    self.resize(static_cast<std::size_t>(length));
    return self.substr(0, self.rfind('/') + 1) + name;
}

std::string DefaultModulePath() { return BesideHost("libqxiprev.so"); }

FilterModule::FilterModule(std::string path) : path_(std::move(path))
{
    // A bare name would send dlopen searching the library path; the module is always a file.
    const std::string file = path_.find('/') == std::string::npos ? "./" + path_ : path_;
    handle_ = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle_ == nullptr) {
        throw std::runtime_error(LoaderError());
    }
    getClassObject_ = reinterpret_cast<GetClassObjectFunction>(::dlsym(handle_, "DllGetClassObject"));
    canUnloadNow_ = reinterpret_cast<CanUnloadNowFunction>(::dlsym(handle_, "DllCanUnloadNow"));
    if (getClassObject_ == nullptr || canUnloadNow_ == nullptr) {
        const std::string missing = getClassObject_ == nullptr ? "DllGetClassObject" : "DllCanUnloadNow";
        ::dlclose(std::exchange(handle_, nullptr));
        throw std::runtime_error(path_ + " does not export " + missing);
    }
}

FilterModule::~FilterModule()
{
    if (handle_ != nullptr) {
        UnloadIfUnused();
    }
}

HRESULT FilterModule::GetClassObject(REFCLSID clsid, REFIID iid, void** object) const
{
    return handle_ == nullptr ? E_UNEXPECTED : getClassObject_(clsid, iid, object);
}

HRESULT FilterModule::CanUnloadNow() const { return handle_ == nullptr ? S_OK : canUnloadNow_(); }

HRESULT FilterModule::UnloadIfUnused()
{
    const HRESULT answer = CanUnloadNow();
    if (answer == S_OK && handle_ != nullptr) {
        ::dlclose(std::exchange(handle_, nullptr));
    }
    return answer;
}

}  // namespace pipelinehost
