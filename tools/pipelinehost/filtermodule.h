// The filter module, loaded by its file as the pipeline loads an in-process server, and its two exports.
#pragma once

#include <string>

#include <objbase.h>

namespace pipelinehost {

// A file of that name in the folder of the running program, where the build puts what the host
// loads by default, so that a copied or installed host finds its own.
std::string BesideHost(const std::string& name);
// libqxiprev.so beside the host.
std::string DefaultModulePath();

class FilterModule {
public:
    // Throws std::runtime_error with the loader's reason when the file cannot be loaded or lacks
    // DllGetClassObject or DllCanUnloadNow.
    explicit FilterModule(std::string path);
    // Unloads only a module that agrees to it: one with live objects or threads stays loaded.
    ~FilterModule();
    FilterModule(const FilterModule&) = delete;
    FilterModule& operator=(const FilterModule&) = delete;

    const std::string& Path() const { return path_; }
    bool Loaded() const { return handle_ != nullptr; }

    HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** object) const;
    HRESULT CanUnloadNow() const;
    // Asks DllCanUnloadNow and unloads the module when it answers S_OK; returns the answer.
    HRESULT UnloadIfUnused();

private:
    using GetClassObjectFunction = HRESULT (*)(REFCLSID, REFIID, void**);
    using CanUnloadNowFunction = HRESULT (*)();

    std::string path_;
    void* handle_ = nullptr;
    GetClassObjectFunction getClassObject_ = nullptr;
    CanUnloadNowFunction canUnloadNow_ = nullptr;
};

}  // namespace pipelinehost
