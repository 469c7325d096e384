// What the fuzz programs share: a machine of their own under the temporary folder, a COM apartment
// for the main thread, and the input bytes as the texts and streams the readers take.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <objbase.h>
#include <wrl/client.h>

namespace fuzzsupport {

// Gives the process a fresh simulated machine root and joins the main thread to the multithreaded
// apartment, as the filter's threads are; both are undone at exit, the root removed with all a run
// wrote into it. Call once, from LLVMFuzzerInitialize.
void StartProcess();

// Runs at exit before the apartment is left and the root removed, in reverse order of
// registration, so that a program's own objects go while the machine they belong to still exists.
void AtExit(void (*cleanup)());

// Stops the run when the setup itself fails (no object factory, no temporary folder): that is no
// finding about the input, and every later input would fail the same way.
[[noreturn]] void SetupFailed(const char* what);

// The bytes read as UTF-8, a malformed sequence read as the replacement character, so that every
// input reaches the reader instead of stopping in the conversion.
std::wstring WideText(const std::uint8_t* data, std::size_t size);

// A stream over a copy of the bytes in global memory, as the job run reads a whole job.
Microsoft::WRL::ComPtr<IStream> MemoryStream(const std::uint8_t* data, std::size_t size);

}  // namespace fuzzsupport
