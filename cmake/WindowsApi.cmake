# The Windows API as the system code sees it in the Windows build: the mingw-w64 headers and import
# libraries, with windows/include for what mingw-w64 lacks (the print pipeline, the printer
# extension, MSXML 6, IBidiSpl2 and a few GUID definitions missing from its libuuid.a). Those
# declarations are written against mingw-w64 10 (Debian bookworm); a later mingw-w64 that declares
# some of them itself needs them checked again.
if(NOT CMAKE_SYSTEM_NAME STREQUAL "Windows")
  message(FATAL_ERROR "cmake/WindowsApi.cmake is for the Windows build (cmake/mingw-w64-x86_64.cmake)")
endif()

add_library(qxwinapi INTERFACE)
# BEFORE: our wrappers of bidispl.h and xpsobjectmodel.h must be found ahead of the sysroot's.
target_include_directories(qxwinapi BEFORE INTERFACE ${CMAKE_CURRENT_LIST_DIR}/../windows/include)
# Windows 10 (the version-4 driver model needs Windows 8 at least); UNICODE so that any
# undecorated name is the wide one; NOMINMAX so that windows.h leaves std::min and std::max alone.
target_compile_definitions(qxwinapi INTERFACE _WIN32_WINNT=0x0A00 NTDDI_VERSION=0x0A000000 WINVER=0x0A00 UNICODE
                                              _UNICODE NOMINMAX)
target_link_libraries(qxwinapi INTERFACE winspool userenv shell32 ole32 oleaut32 uuid advapi32)

# Everything links the GCC and C++ runtimes and winpthread statically, so that the module imports
# only Windows system DLLs: a driver package carries no libstdc++-6.dll or libwinpthread-1.dll.
add_link_options(-static -static-libgcc -static-libstdc++)
