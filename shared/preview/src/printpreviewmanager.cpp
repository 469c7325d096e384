#include "printpreviewmanager.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <mutex>
#include <random>
#include <vector>

#include <processthreadsapi.h>
#include <winreg.h>

#include "comlibmanager.h"
#include "driverlibrarypath.h"
#include "driverv4winapi.h"
#include "driverversion.h"
#include "papersourcemeasure.h"
#include "previewchannelstate.h"
#include "previewdataset.h"
#include "previewhandlerslot.h"
#include "previewresultapplier.h"
#include "printerattributesettings.h"
#include "prnfilewriter.h"
#include "qxdrvlogger.h"
#include "scopedimpersonation.h"
#include "scopedregistrykey.h"
#include "textconversion.h"
#include "xpsfpkeys.h"

namespace {

constexpr wchar_t kPipeNameAlphabet[] = L"0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr DWORD kExitPrint = 0;
constexpr DWORD kExitCancel = 1;
constexpr DWORD kExitCodeUnknown = 0xFFFFFFFF;
constexpr DWORD kTerminationGraceMs = 5000;

// One manager per job, and a job runs on one pipeline thread from GetInstance to ReleaseInstance.
// Kept by thread id in process-wide storage, not in thread-local storage: the destructors of a
// module's thread-local objects keep the module loaded for as long as the pipeline's thread lives.
struct Instances {
    std::mutex lock;
    std::map<DWORD, std::unique_ptr<PrintPreviewManager>> byThread;
};

Instances& TheInstances()
{
    static Instances instances;
    return instances;
}

// The byte size of a string value; false (logged for caller with the value's name) when it cannot be had.
bool QueryValueSize(HKEY key, const wchar_t* valueName, DWORD& bytes, const LogSite& caller)
{
    bytes = 0;
    const LSTATUS status = RegQueryValueExW(key, valueName, nullptr, nullptr, nullptr, &bytes);
    if (status != ERROR_SUCCESS) {
        LogAt(LogLevel::Error, QX_FOR(caller), L"Error %d query registry key %s", static_cast<int>(status), valueName);
        return false;
    }
    return true;
}

// The value read into a zero-filled buffer of twice its size, so that a value stored without
// its terminator still ends in one.
std::wstring ReadStringValue(HKEY key, const wchar_t* valueName, DWORD bytes)
{
    std::vector<wchar_t> text(2 * static_cast<std::size_t>(bytes) / sizeof(wchar_t) + 1, L'\0');
    DWORD capacity = 2 * bytes;
    RegQueryValueExW(key, valueName, nullptr, nullptr, reinterpret_cast<BYTE*>(text.data()), &capacity);
    return std::wstring(text.data());
}

std::string SentEncodedSettings(const PrintPreviewData& data)
{
    return std::string(data.encodedSettings, ::strnlen(data.encodedSettings, sizeof data.encodedSettings));
}

std::int32_t Numeric(EAutorotate option) { return static_cast<std::int32_t>(option); }

}  // namespace

PrintPreviewManager& PrintPreviewManager::GetInstance()
{
    Instances& instances = TheInstances();
    const std::lock_guard<std::mutex> hold(instances.lock);
    std::unique_ptr<PrintPreviewManager>& instance = instances.byThread[GetCurrentThreadId()];
    if (!instance) {
        instance = std::make_unique<PrintPreviewManager>();
    }
    return *instance;
}

void PrintPreviewManager::ReleaseInstance()
{
    std::unique_ptr<PrintPreviewManager> released;
    {
        Instances& instances = TheInstances();
        const std::lock_guard<std::mutex> hold(instances.lock);
        const auto found = instances.byThread.find(GetCurrentThreadId());
        if (found == instances.byThread.end()) {
            return;
        }
        released = std::move(found->second);
        instances.byThread.erase(found);
    }
    // Its job file is deleted outside the lock, which other jobs' threads take.
}

PrintPreviewManager::~PrintPreviewManager() { DeleteOwnPrnFile(); }

std::wstring PrintPreviewManager::GetPrintPreviewInstallationPath()
{
    ScopedRegistryKey key;
    const LSTATUS opened = RegOpenKeyExW(HKEY_LOCAL_MACHINE, kRegistryKey, 0, KEY_QUERY_VALUE, key.Receive());
    if (opened != ERROR_SUCCESS) {
        QXLOG_ERROR(L"Error %d opening registry key %s", static_cast<int>(opened), kRegistryKey);
        return std::wstring();
    }
    DWORD pathBytes = 0;
    DWORD fileBytes = 0;
    if (!QueryValueSize(key.Get(), L"PPExecPath", pathBytes, QX_HERE) ||
        !QueryValueSize(key.Get(), L"PPExecFile", fileBytes, QX_HERE)) {
        return std::wstring();
    }
    return ReadStringValue(key.Get(), L"PPExecPath", pathBytes) + ReadStringValue(key.Get(), L"PPExecFile", fileBytes);
}

bool PrintPreviewManager::IsPrintPreviewInstalled()
{
    m_executablePath = GetPrintPreviewInstallationPath();
    const DWORD attributes = GetFileAttributesW(m_executablePath.c_str());
    QXLOG_INFO(L"Print Preview file attribute = %u", static_cast<unsigned>(attributes));
    return (attributes & FILE_ATTRIBUTE_ARCHIVE) != 0;
}

bool PrintPreviewManager::CreatePrnTempFile(IXpsOMPackage* package, HANDLE userToken)
{
    return CreatePrnTempFileFrom(package, userToken, QX_HERE);
}

bool PrintPreviewManager::CreatePrnTempFile(IPrintReadStream* stream, HANDLE userToken)
{
    // Held for the call: the caller's reference may go while the copy runs.
    const Microsoft::WRL::ComPtr<IPrintReadStream> held(stream);
    return CreatePrnTempFileFrom(held.Get(), userToken, QX_HERE);
}

template <class Content>
bool PrintPreviewManager::CreatePrnTempFileFrom(Content content, HANDLE userToken, const LogSite& caller)
{
    const ScopedImpersonation asUser(userToken);
    const std::wstring folder = PrnFileWriter::GetLocalTempFolder();
    const std::wstring name = folder.empty() ? std::wstring() : PrnFileWriter::MakeTempFileName(folder);
    if (!PrnFileWriter::TempFileProcessing(name, content)) {
        LogAt(LogLevel::Info, QX_FOR(caller), L"Prn not processed");
        PrnFileWriter::Delete(name);
        return false;
    }
    DeleteOwnPrnFile();
    m_ownPrnFile = name;
    m_prnFilePath = name;
    return true;
}

void PrintPreviewManager::SetPrintPreviewData(PreviewDataSet& dataSet, const PTSettings& settings,
                                              PipelinePropertyBagProxy& propertyBag,
                                              PrinterDriverProperties& driverProperties)
{
    dataSet.SetPrintPreviewData(settings, propertyBag, driverProperties, QX_HERE);
}

void PrintPreviewManager::SetPaperSourcesData(PreviewDataSet& dataSet, IPipelinePropertyBagProxy& propertyBag,
                                              bool useKoru)
{
    dataSet.SetPaperSourcesData(propertyBag, useKoru, QX_HERE);
}

void PrintPreviewManager::DeleteOwnPrnFile()
{
    PrnFileWriter::Delete(m_ownPrnFile);
    m_ownPrnFile.clear();
}

std::wstring PrintPreviewManager::MakeRandomName()
{
    std::random_device seed;
    std::mt19937 generator(seed());
    std::wstring alphabet = kPipeNameAlphabet;
    std::shuffle(alphabet.begin(), alphabet.end(), generator);
    return alphabet.substr(0, kPipeNameCharacters);
}

std::wstring PrintPreviewManager::PreviewArguments(const std::wstring& version, const std::wstring& inputPipeName,
                                                   const std::wstring& outputPipeName)
{
    return L"--Version=" + version + L" --Input=" + inputPipeName + L" --Output=" + outputPipeName;
}

std::int32_t PrintPreviewManager::GetAutorotateRollWidth(IPrinterDriverProperties& driverProperties,
                                                         IPTSettings& settings)
{
    const std::int32_t option = Numeric(settings.GetAutorotate());
    const bool known = option >= 0 && static_cast<std::size_t>(option) < kRollWidthsInMicrons.size();
    const std::int32_t width = known ? kRollWidthsInMicrons[static_cast<std::size_t>(option)] : 0;
    return width != 0 ? width : driverProperties.GetMaxPrinterWidthInMicrons();
}

DWORD PrintPreviewManager::ExecutePrintPreview(HANDLE userToken, const std::wstring& version,
                                               const std::wstring& inputPipeName, const std::wstring& outputPipeName)
{
    m_applicationRan = false;
    const PROCESS_INFORMATION process = DriverV4WinApi::ExecuteProcessAsUser(
        std::wstring(m_executablePath), userToken, PreviewArguments(version, inputPipeName, outputPipeName));
    if (process.hProcess == nullptr) {
        QXLOG_ERROR(L"Cannot launch PrintPreview 2.0");
        return kExitPrint;
    }
    m_applicationRan = true;
    QXLOG_INFO(L"PrintPreview 2.0 launched correctly");
    DWORD exitCode = kExitCodeUnknown;
    if (WaitForSingleObject(process.hProcess, INFINITE) == WAIT_OBJECT_0) {
        GetExitCodeProcess(process.hProcess, &exitCode);
    } else {
        // Without the wait there is no verdict to read; the application must not outlive the job.
        QXLOG_ERROR(L"Error %u waiting for PrintPreview 2.0; it is closed", GetLastError());
        // It must be gone before its job file is deleted, which it may still hold open.
        if (TerminateProcess(process.hProcess, kExitCodeUnknown)) {
            WaitForSingleObject(process.hProcess, kTerminationGraceMs);
        }
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return exitCode;
}

bool PrintPreviewManager::StartPrintPreview(PTSettings& settings, PipelinePropertyBagProxy& propertyBag)
{
    const std::wstring inputPipeName = MakeRandomName() + L"_IN";
    const std::wstring outputPipeName = MakeRandomName() + L"_OUT";
    ComLibManager channel(WideToUtf8(inputPipeName), DriverLibraryPath(L"qxicl.dll"));
    QXLOG_INFO(L"ComLibManager created %p", static_cast<void*>(&channel));

    const HANDLE userToken = propertyBag.GetUserToken();
    const ScopedImpersonation asUser(userToken);
    PrinterAttributeSettings printerAttributes(propertyBag);
    PrinterDriverProperties driverProperties(propertyBag, printerAttributes);
    if (!IsPrintPreviewInstalled() || static_cast<std::int32_t>(PTSettings(settings).GetPrintPreview()) != 1) {
        // Nothing was shown, so there is no choice of the user's to apply.
        channel.Close();
        return true;
    }

    const EPdl pdl = driverProperties.GetPDL();
    // A fresh state per session: an earlier session's paper sources or result never reach this one.
    PreviewChannelState state;
    PreviewHandlerSlot handlers(state, channel, WideToUtf8(outputPipeName));
    handlers.Register();
    QXLOG_INFO(L"Register callbacks");
    if (!channel.CanServe()) {
        // The application would wait for answers nobody sends; as for a failed start, the job prints.
        QXLOG_ERROR(L"The communication library lacks a function Print Preview needs");
        QXLOG_ERROR(L"Cannot launch PrintPreview 2.0");
        return true;
    }

    // Collected apart and published whole just before the launch, so the handlers, live from here
    // on, never see a half-filled block.
    PreviewChannelState collected;
    PreviewDataSet dataSet(collected);
    SetPrintPreviewData(dataSet, settings, propertyBag, driverProperties);
    collected.data.pdlId = static_cast<std::uint32_t>(pdl);
    PTSettings rollWidthSettings(settings);
    collected.data.rollWidth =
        static_cast<std::uint32_t>(GetAutorotateRollWidth(driverProperties, rollWidthSettings));
    driverProperties.GetSoftwareUrl(collected.softwareUrl);
    if (driverProperties.HasBidiInformation()) {
        SetPaperSourcesData(dataSet, propertyBag, driverProperties.IsKoruOnly() != 0);
    }
    if (pdl == OtherPdl) {
        // An upstream filter has written the printable file for such printers; that is what the
        // user previews.
        std::wstring printableFile;
        if (propertyBag.GetProperty(XPS_FP_PRNFILEPATH, printableFile)) {
            m_prnFilePath = printableFile;
        }
    }
    dataSet.SetPrnFilePath(m_prnFilePath, QX_HERE);
    QXLOG_INFO(L"Set Print Preview Data");
    QXLOG_INFO(L"Driver version: %s", GetDriverVersion(propertyBag.GetPrinterName()).c_str());
    state.Publish(collected);

    const DWORD exitCode = ExecutePrintPreview(userToken, kPreviewVersion, inputPipeName, outputPipeName);
    QXLOG_INFO(L"Print Preview result: %s", exitCode == kExitPrint ? L"ok" : L"cancel");
    PrnFileWriter::Delete(m_prnFilePath);
    DeleteOwnPrnFile();
    if (exitCode == kExitCancel) {
        return false;
    }
    if (exitCode != kExitPrint || !m_applicationRan) {
        return true;
    }
    if (!state.WaitForResult(kResultGrace)) {
        QXLOG_WARNING(L"Print Preview ended without a result; the job prints as it was");
        return true;
    }
    PreviewResultApplier().Apply(settings, SentEncodedSettings(state.data), state.Result());
    return true;
}
