// A shared library loaded by path for the life of the object.
#pragma once

#include <string>

namespace previewapp {

class SharedLibrary {
public:
    // Throws PreviewFailure (kExitLibrary) when the library cannot be loaded.
    explicit SharedLibrary(const std::string& path);
    ~SharedLibrary();

    // The export as the function type the caller knows it by; a missing export throws, since a
    // library without it is not the one this program talks to.
    template <class Function>
    Function Export(const char* name) const
    {
        using AnyFunction = void (*)();
        return reinterpret_cast<Function>(reinterpret_cast<AnyFunction>(Symbol(name)));
    }

    SharedLibrary(const SharedLibrary&) = delete;
    SharedLibrary& operator=(const SharedLibrary&) = delete;

private:
    void* Symbol(const char* name) const;

    std::string m_path;
    void* m_handle;
};

}  // namespace previewapp
