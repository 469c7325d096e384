#include "previewinstall.h"

#include <filesystem>

#include <platform/machine.h>
#include <platform/simulatedmachine.h>

namespace testsupport {
namespace {

namespace fs = std::filesystem;
using platform::RegistryData;
using platform::RegistryHive;
using platform::SimulatedMachine;

const wchar_t kRegistryKey[] = L"SOFTWARE\\QX\\QX Print Preview2";

void Register(const std::wstring& file)
{
    SimulatedMachine::DeleteRegistryKey(RegistryHive::LocalMachine(), kRegistryKey);
    SimulatedMachine::SetRegistryValue(RegistryHive::LocalMachine(), kRegistryKey, L"PPExecPath",
                                       RegistryData::String(kPreviewFolder));
    SimulatedMachine::SetRegistryValue(RegistryHive::LocalMachine(), kRegistryKey, L"PPExecFile",
                                       RegistryData::String(file));
}

}  // namespace

void InstallPreviewApplication(const std::string& hostProgram)
{
    Register(kPreviewFile);
    const fs::path program = *platform::HostPathOf(std::wstring(kPreviewFolder) + kPreviewFile);
    fs::create_directories(program.parent_path());
    fs::remove(program);
    fs::create_symlink(hostProgram, program);
}

void InstallPreviewFolderOnly()
{
    Register(L"");
    fs::create_directories(*platform::HostPathOf(kPreviewFolder));
}

}  // namespace testsupport
