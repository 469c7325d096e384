// The filter's side of the smoke run of the Windows stand-ins: it loads qxicl.dll, qxitrn.dll and
// XPSUIOLib.dll from its own folder, starts qxpreviewapp.exe as the filter does and answers its
// requests over named pipes, then checks the exit code and result of each mode it runs. Prints
// one line per failure and exits 1 if there was any.
#include <windows.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "morvikrecord.h"
#include "previewmessages.h"
#include "previewrecords.h"

namespace {

using Handler = void (*)(void*);
using StartPipeFunction = void (*)(const char*);
using RegisterFunction = void (*)(const char*, std::int32_t, Handler);
using SendFunction = std::int32_t (*)(const char*, std::int32_t, const void*, std::int32_t);
using EncodeFunction = std::int32_t (*)(MorvikSettingsRecord, char*);
using DecodeFunction = MorvikSettingsRecord (*)(const char*, std::uint8_t*);
using BidiFunction = int (*)(wchar_t*, int, const wchar_t*, const wchar_t*, int, int, const wchar_t*);

constexpr std::int32_t kChangedInputBin = 7;
constexpr wchar_t kPrinterKey[] = L"SOFTWARE\\QX Inc\\XPSUIOLib\\Printers\\,,smoke,printer";

int g_failures = 0;
std::wstring g_folder;
std::string g_filterPipe;
std::string g_appPipe;
SendFunction g_send = nullptr;
PrintPreviewData g_data{};
PrintPreviewResult g_result{};
HANDLE g_resultArrived = nullptr;

void Check(bool condition, const char* what)
{
    if (!condition) {
        std::fprintf(stderr, "smokepeer: FAILED: %s\n", what);
        ++g_failures;
    }
}

template <class Function>
Function Export(const wchar_t* library, const char* name)
{
    const HMODULE module = ::LoadLibraryW((g_folder + library).c_str());
    const FARPROC address = module == nullptr ? nullptr : ::GetProcAddress(module, name);
    if (address == nullptr) {
        std::fprintf(stderr, "smokepeer: %ls has no %s (error %lu)\n", library, name, ::GetLastError());
        std::exit(1);
    }
    return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(address));
}

// Every message to the application carries 2048 bytes.
void SendToApplication(std::int32_t message, const void* payload)
{
    Check(g_send(g_appPipe.c_str(), message, payload, kPreviewMessageSize) == 0, "a message reaches the application");
}

void OnDataRequest(void*)
{
    const char zeros[kPreviewMessageSize] = {};
    SendToApplication(PP_MSG_DATA, &g_data);
    SendToApplication(PP_MSG_PAPER_SOURCE_END, zeros);
}

void OnSoftwareUrlRequest(void*)
{
    char url[kPreviewMessageSize] = "https://example.invalid/qx";
    SendToApplication(PP_MSG_SOFTWARE_URL, url);
}

void OnResult(void* payload)
{
    std::memcpy(&g_result, payload, sizeof g_result);
    ::SetEvent(g_resultArrived);
}

// The exit code of one run of the application in a mode, or -1 when it did not end in 30 seconds.
long RunApplication(const wchar_t* mode)
{
    ::ResetEvent(g_resultArrived);
    ::SetEnvironmentVariableW(L"QXPREVIEW_MODE", mode);
    ::SetEnvironmentVariableW(L"QXPREVIEW_INPUT_BIN", std::to_wstring(kChangedInputBin).c_str());
    std::wstring command = L"\"" + g_folder + L"qxpreviewapp.exe\" --Version=1 --Input=" +
                           std::wstring(g_filterPipe.begin(), g_filterPipe.end()) + L" --Output=" +
                           std::wstring(g_appPipe.begin(), g_appPipe.end());
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!::CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process)) {
        return -1;
    }
    DWORD exitCode = 0;
    const bool ended = ::WaitForSingleObject(process.hProcess, 30000) == WAIT_OBJECT_0 &&
                       ::GetExitCodeProcess(process.hProcess, &exitCode);
    if (!ended) {
        ::TerminateProcess(process.hProcess, 99);
    }
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    return ended ? static_cast<long>(exitCode) : -1;
}

bool ResultArrived()
{
    return ::WaitForSingleObject(g_resultArrived, 0) == WAIT_OBJECT_0;
}

void CheckBidiResponse()
{
    HKEY source = nullptr;
    for (const auto& [number, name] : {std::pair<const wchar_t*, const wchar_t*>{L"\\2", L"Roll"}, {L"\\1", L"Tray 1"}}) {
        ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, (std::wstring(kPrinterKey) + number).c_str(), 0, nullptr, 0,
                          KEY_WRITE, nullptr, &source, nullptr);
        ::RegSetValueExW(source, L"Name", 0, REG_SZ, reinterpret_cast<const BYTE*>(name),
                         static_cast<DWORD>((std::wcslen(name) + 1) * sizeof(wchar_t)));
        ::RegCloseKey(source);
    }
    const auto getBidiResponse = Export<BidiFunction>(L"XPSUIOLib.dll", "GetBidiResponse");
    wchar_t answer[256];
    Check(getBidiResponse(answer, 256, L"\\\\smoke\\printer", L"", 0, 1, L"KORU") == 1 &&
              std::wcscmp(answer, L"Source1_Name=Tray 1\nSource2_Name=Roll\n") == 0,
          "the KORU description of a printer in the registry, sources in number order");
    Check(getBidiResponse(answer, 256, L"\\\\smoke\\other", L"", 0, 1, L"KORU") == 0 && answer[0] == L'\0',
          "no KORU description of an unknown printer");
}

}  // namespace

int main()
{
    std::wstring path(MAX_PATH, L'\0');
    path.resize(::GetModuleFileNameW(nullptr, path.data(), MAX_PATH));
    g_folder = path.substr(0, path.rfind(L'\\') + 1);
    const std::string id = std::to_string(::GetCurrentProcessId());
    g_filterPipe = "qxsmoke-filter-" + id;
    g_appPipe = "qxsmoke-app-" + id;
    g_resultArrived = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);

    // A record of extreme and ordinary values comes back from its text unchanged.
    const auto encode = Export<EncodeFunction>(L"qxitrn.dll", "EncodeFibonacciUnmanaged");
    const auto decode = Export<DecodeFunction>(L"qxitrn.dll", "DecodeFibonacci");
    MorvikSettingsRecord record{};
    for (std::size_t i = 0; i < kMorvikFieldCount; ++i) {
        record.fields[i] = i % 3 == 0 ? kMorvikUnset : static_cast<std::int32_t>(i * 7919);
    }
    record.fields[1] = INT32_MIN;
    record.fields[2] = static_cast<std::int32_t>(0xFFFFFFFEu);
    Check(encode(record, g_data.encodedSettings) == 0, "a settings record encodes");
    std::uint8_t decoded = 0;
    const MorvikSettingsRecord back = decode(g_data.encodedSettings, &decoded);
    Check(decoded == 1 && std::memcmp(&back, &record, sizeof record) == 0, "a settings record round-trips");

    CheckBidiResponse();

    const auto startPipe = Export<StartPipeFunction>(L"qxicl.dll", "StartPipe");
    const auto registerFor = Export<RegisterFunction>(L"qxicl.dll", "RegisterForMessage");
    const auto stopPipe = Export<StartPipeFunction>(L"qxicl.dll", "StopPipe");
    g_send = Export<SendFunction>(L"qxicl.dll", "SendPipeMessage");
    startPipe(g_filterPipe.c_str());
    registerFor(g_filterPipe.c_str(), PP_MSG_DATA_REQUEST, &OnDataRequest);
    registerFor(g_filterPipe.c_str(), PP_MSG_SOFTWARE_URL_REQUEST, &OnSoftwareUrlRequest);
    registerFor(g_filterPipe.c_str(), PP_MSG_RESULT, &OnResult);

    Check(RunApplication(L"change") == 0 && ResultArrived(), "a changed job prints with a result");
    MorvikSettingsRecord changed = decode(g_result.encodedSettings, &decoded);
    Check(decoded == 1 && changed.fields[kMorvikInputBin] == kChangedInputBin,
          "the result carries the changed tray");
    changed.fields[kMorvikInputBin] = record.fields[kMorvikInputBin];
    Check(std::memcmp(&changed, &record, sizeof record) == 0, "the result changes nothing else");
    Check(RunApplication(L"cancel") == 1 && !ResultArrived(), "a cancelled job exits 1 without a result");
    const long crashed = RunApplication(L"crash");
    Check(crashed != 0 && crashed != 1 && crashed != -1 && !ResultArrived(), "a crash ends without a result");

    stopPipe(g_filterPipe.c_str());
    Check(g_send(g_filterPipe.c_str(), PP_MSG_RESULT, "x", 1) == 1, "a stopped pipe has no peer");
    std::printf("smokepeer: %s\n", g_failures == 0 ? "all checks passed" : "FAILED");
    return g_failures == 0 ? 0 : 1;
}
