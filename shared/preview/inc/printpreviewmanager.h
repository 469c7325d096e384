// One print preview session for one job: the job written to a file the user can open, a private
// pair of pipes, the job's data handed to the preview application started as the job's user, and
// the user's verdict and changes when it exits.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include <filterpipeline.h>
#include <windows.h>
#include <xpsobjectmodel.h>

#include "pipelinepropertybagproxy.h"
#include "printerdriverproperties.h"
#include "ptsettings.h"
#include "qxdrvlogger.h"

class PreviewDataSet;

class PrintPreviewManager {
public:
    // The version the application is told it talks to.
    static constexpr wchar_t kPreviewVersion[] = L"61.2405.0.0";
    static constexpr wchar_t kRegistryKey[] = L"SOFTWARE\\QX\\QX Print Preview2";
    static constexpr std::size_t kPipeNameCharacters = 32;
    // How long a result may still be on its way after the application has exited.
    static constexpr std::chrono::milliseconds kResultGrace{5000};

    // The calling thread's manager, made on first use. Each job runs on its own thread from
    // GetInstance to ReleaseInstance, so one job's release never takes another job's manager.
    static PrintPreviewManager& GetInstance();
    static void ReleaseInstance();

    PrintPreviewManager() = default;
    // Removes this session's own job file if it is still there, however the session ended.
    ~PrintPreviewManager();

    // Reads the installation path into the executable path; true when its file attributes carry
    // the archive bit, which the failure value does too, so a missing file counts as installed.
    bool IsPrintPreviewInstalled();
    // PPExecPath followed by PPExecFile from the machine's registry; empty on failure.
    static std::wstring GetPrintPreviewInstallationPath();

    // Write the job file in the user's temporary folder as the user; false (logged "Prn not
    // processed") when it cannot be written, and nothing is left behind then.
    bool CreatePrnTempFile(IXpsOMPackage* package, HANDLE userToken);
    bool CreatePrnTempFile(IPrintReadStream* stream, HANDLE userToken);

    // The whole session. True: print, with the user's changes in the settings; false: the user
    // cancelled. Throws std::runtime_error "ComLibrary not loaded" or "Morvik not loaded" when a
    // driver library is missing, with everything the session opened closed again.
    bool StartPrintPreview(PTSettings& settings, PipelinePropertyBagProxy& propertyBag);

    // Starts the application as the user and waits for it; its exit code, or 0 when it could not
    // be started.
    DWORD ExecutePrintPreview(HANDLE userToken, const std::wstring& version, const std::wstring& inputPipeName,
                              const std::wstring& outputPipeName);

    // 32 distinct characters of [0-9A-Za-z], shuffled from a nondeterministic seed.
    static std::wstring MakeRandomName();
    // The argument text of the application's command line.
    static std::wstring PreviewArguments(const std::wstring& version, const std::wstring& inputPipeName,
                                         const std::wstring& outputPipeName);
    // The roll width the ticket's auto-rotate option stands for; the printer's maximum width for
    // "None", "Printer" or no option.
    static std::int32_t GetAutorotateRollWidth(IPrinterDriverProperties& driverProperties, IPTSettings& settings);

    const std::wstring& ExecutablePath() const { return m_executablePath; }
    const std::wstring& PrnFilePath() const { return m_prnFilePath; }
    // Whether the last ExecutePrintPreview started the application at all.
    bool ApplicationRan() const { return m_applicationRan; }

    PrintPreviewManager(const PrintPreviewManager&) = delete;
    PrintPreviewManager& operator=(const PrintPreviewManager&) = delete;

private:
    class Session;

    template <class Content>
    bool CreatePrnTempFileFrom(Content content, HANDLE userToken, const LogSite& caller);
    // The session's two collection steps; what they log carries their names.
    static void SetPrintPreviewData(PreviewDataSet& dataSet, const PTSettings& settings,
                                    PipelinePropertyBagProxy& propertyBag, PrinterDriverProperties& driverProperties);
    static void SetPaperSourcesData(PreviewDataSet& dataSet, IPipelinePropertyBagProxy& propertyBag, bool useKoru);
    void DeleteOwnPrnFile();

    std::wstring m_executablePath;
    std::wstring m_prnFilePath;
    std::wstring m_ownPrnFile;  // the file this manager made, whatever the prn file path became
    bool m_applicationRan = false;
};
