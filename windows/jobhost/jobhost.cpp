// qxwinhost.exe: runs one job through the filter module under Wine as the print filter pipeline
// would, and prints what happened. The pipeline's objects are ours (pipelineobjects.h); what Wine
// lacks of the XPS Document API and of bidi is registered for the run (xpspackage.h,
// bidiobject.h); the printer is one of Wine's spooler, added on first use.
//
//   qxwinhost.exe --module qxiprev.dll --input job.xps --output out.xps
//                 --driver-properties FILE [--printer NAME] [--expect done|abort]
//
// FILE holds the printer's version-4 driver properties, one a line, UTF-8:
// "bool NAME=0|1", "int32 NAME=N" or "string NAME=TEXT".
// Exit status: 0 when the job ended as expected, 1 when it did not, 2 for a usage error or a host
// that could not be set up. "done" (the default) expects StartOperation's S_OK and an output equal
// to the input; "abort" expects E_ABORT, a shutdown requested with it, and an output the filter
// closed empty, as a cancelled preview ends.
#include <windows.h>
#include <objbase.h>
#include <winspool.h>

#include <bidispl.h>
#include <filterpipeline.h>
#include <printerextension.h>
#include <xpsobjectmodel.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "bidiobject.h"
#include "pipelineobjects.h"
#include "xpspackage.h"

namespace {

// Wine's own PostScript driver stands in for the printer's driver: the filter asks the spooler
// only for the printer's and the job's records, never for the driver's files.
const wchar_t kWineDriver[] = L"Wine PostScript Driver";

struct Options {
    std::wstring module;
    std::wstring input;
    std::wstring output;
    std::wstring driverProperties;
    std::wstring printer = L"QX Mesa 44";
    bool expectAbort = false;
};

std::string Utf8(const std::wstring& text)
{
    if (text.empty()) {
        return {};
    }
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
    std::string converted(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), converted.data(), size, nullptr, nullptr);
    return converted;
}

std::wstring Wide(const std::string& text)
{
    if (text.empty()) {
        return {};
    }
    const int size = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
    std::wstring converted(static_cast<size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), converted.data(), size);
    return converted;
}

int Usage(const char* problem)
{
    std::fprintf(stderr, "qxwinhost: %s\n", problem);
    std::fprintf(stderr,
                 "usage: qxwinhost.exe --module DLL --input FILE --output FILE --driver-properties FILE "
                 "[--printer NAME] [--expect done|abort]\n");
    return 2;
}

bool ReadDriverProperties(const std::wstring& path, std::map<std::wstring, DriverPropertyBag::Value>& values)
{
    std::ifstream file(path.c_str(), std::ios::binary);
    if (!file) {
        return false;
    }
    std::string line;
    while (std::getline(file, line)) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        const size_t space = line.find(' ');
        const size_t equals = line.find('=', space == std::string::npos ? 0 : space);
        if (line.empty() || space == std::string::npos || equals == std::string::npos) {
            continue;
        }
        const std::string kind = line.substr(0, space);
        const std::wstring name = Wide(line.substr(space + 1, equals - space - 1));
        const std::string text = line.substr(equals + 1);
        DriverPropertyBag::Value value{DriverPropertyBag::Value::String, 0, {}};
        if (kind == "bool") {
            value.kind = DriverPropertyBag::Value::Bool;
            value.number = text == "1" || text == "true" ? 1 : 0;
        } else if (kind == "int32") {
            value.kind = DriverPropertyBag::Value::Int32;
            value.number = static_cast<LONG>(std::stol(text));
        } else if (kind == "string") {
            value.text = Wide(text);
        } else {
            return false;
        }
        values[name] = value;
    }
    return true;
}

// The printer in Wine's spooler, added with Wine's driver unless it is there already.
HANDLE OpenJobPrinter(const std::wstring& name)
{
    HANDLE printer = nullptr;
    if (OpenPrinterW(const_cast<wchar_t*>(name.c_str()), &printer, nullptr)) {
        return printer;
    }
    DRIVER_INFO_3W driver{};
    driver.cVersion = 3;
    driver.pName = const_cast<wchar_t*>(kWineDriver);
    driver.pDriverPath = const_cast<wchar_t*>(L"wineps.drv");
    driver.pDataFile = const_cast<wchar_t*>(L"wineps.drv");
    driver.pConfigFile = const_cast<wchar_t*>(L"wineps.drv");
    driver.pDefaultDataType = const_cast<wchar_t*>(L"RAW");
    if (!AddPrinterDriverW(nullptr, 3, reinterpret_cast<BYTE*>(&driver)) &&
        GetLastError() != ERROR_PRINTER_DRIVER_ALREADY_INSTALLED) {
        std::fprintf(stderr, "qxwinhost: AddPrinterDriverW failed with %lu\n", GetLastError());
    }
    PRINTER_INFO_2W info{};
    info.pPrinterName = const_cast<wchar_t*>(name.c_str());
    info.pPortName = const_cast<wchar_t*>(L"FILE:");
    info.pDriverName = const_cast<wchar_t*>(kWineDriver);
    info.pPrintProcessor = const_cast<wchar_t*>(L"WinPrint");
    info.pDatatype = const_cast<wchar_t*>(L"RAW");
    info.Attributes = PRINTER_ATTRIBUTE_LOCAL;
    printer = AddPrinterW(nullptr, 2, reinterpret_cast<BYTE*>(&info));
    if (printer == nullptr) {
        std::fprintf(stderr, "qxwinhost: AddPrinterW \"%s\" failed with %lu\n", Utf8(name).c_str(), GetLastError());
    }
    return printer;
}

HRESULT AddValue(PropertyBag& bag, const wchar_t* name, VARTYPE type, ULONG_PTR number, BSTR text = nullptr,
                 IUnknown* object = nullptr)
{
    VARIANT value;
    VariantInit(&value);
    value.vt = type;
    switch (type) {
    case VT_BSTR:
        value.bstrVal = text;
        break;
    case VT_UNKNOWN:
        value.punkVal = object;
        break;
    case VT_UI4:
        value.ulVal = static_cast<ULONG>(number);
        break;
    default:
        value.byref = reinterpret_cast<void*>(number);  // VT_UINT_PTR: a handle
        break;
    }
    return bag.AddProperty(name, &value);
}

std::string ValueText(const VARIANT& value)
{
    char text[64];
    switch (value.vt) {
    case VT_BSTR:
        return "VT_BSTR \"" + Utf8(value.bstrVal == nullptr ? std::wstring() : std::wstring(value.bstrVal, SysStringLen(value.bstrVal))) + "\"";
    case VT_I4:
        std::snprintf(text, sizeof text, "VT_I4 %ld", static_cast<long>(value.lVal));
        return text;
    case VT_UI4:
        std::snprintf(text, sizeof text, "VT_UI4 %lu", static_cast<unsigned long>(value.ulVal));
        return text;
    case VT_UINT_PTR:
        std::snprintf(text, sizeof text, "VT_UINT_PTR 0x%llx", static_cast<unsigned long long>(reinterpret_cast<ULONG_PTR>(value.byref)));
        return text;
    case VT_UNKNOWN:
        return "VT_UNKNOWN";
    default:
        std::snprintf(text, sizeof text, "vt %u", value.vt);
        return text;
    }
}

bool ReadWhole(const std::wstring& path, std::vector<char>& bytes)
{
    std::ifstream file(path.c_str(), std::ios::binary);
    if (!file) {
        return false;
    }
    bytes.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    return true;
}

struct FilterCall {
    IPrintPipelineFilter* filter;
    HRESULT result;
};

// StartOperation runs on a thread of its own in the multithreaded apartment, as on a filter
// thread of the pipeline.
DWORD WINAPI RunFilter(void* argument)
{
    auto* call = static_cast<FilterCall*>(argument);
    const HRESULT apartment = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    call->result = call->filter->StartOperation();
    if (SUCCEEDED(apartment)) {
        CoUninitialize();
    }
    return 0;
}

int RunJob(const Options& options)
{
    std::vector<char> input;
    if (!ReadWhole(options.input, input)) {
        return Usage("the input cannot be read");
    }
    std::map<std::wstring, DriverPropertyBag::Value> driverValues;
    if (!ReadDriverProperties(options.driverProperties, driverValues)) {
        return Usage("the driver properties cannot be read");
    }

    IClassFactory* xpsClass = NewXpsObjectFactoryClass();
    DWORD xpsCookie = 0;
    HRESULT hr = CoRegisterClassObject(CLSID_XpsOMObjectFactory, xpsClass, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                                       &xpsCookie);
    xpsClass->Release();
    if (FAILED(hr)) {
        std::fprintf(stderr, "qxwinhost: CoRegisterClassObject of the XPS object factory failed with 0x%08lx\n", hr);
        return 2;
    }

    IClassFactory* bidiClass = NewBidiSplClass();
    DWORD bidiCookie = 0;
    hr = CoRegisterClassObject(CLSID_BidiSpl, bidiClass, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &bidiCookie);
    bidiClass->Release();
    if (FAILED(hr)) {
        std::fprintf(stderr, "qxwinhost: CoRegisterClassObject of the bidi object failed with 0x%08lx\n", hr);
        return 2;
    }

    HANDLE printer = OpenJobPrinter(options.printer);
    if (printer == nullptr) {
        return 2;
    }
    // A job of the printer's own, so that the filter's GetJobW finds a record; nothing is written
    // into it, and it is ended after the run.
    wchar_t spoolFile[MAX_PATH];
    wchar_t tempFolder[MAX_PATH];
    GetTempPathW(MAX_PATH, tempFolder);
    GetTempFileNameW(tempFolder, L"qxj", 0, spoolFile);
    DOC_INFO_1W document{};
    document.pDocName = const_cast<wchar_t*>(L"sample job");
    document.pOutputFile = spoolFile;
    document.pDatatype = const_cast<wchar_t*>(L"RAW");
    const DWORD jobId = StartDocPrinterW(printer, 1, reinterpret_cast<BYTE*>(&document));
    if (jobId == 0) {
        std::fprintf(stderr, "qxwinhost: StartDocPrinterW failed with %lu; the job id is 1\n", GetLastError());
    }

    HANDLE token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ALL_ACCESS, &token)) {
        std::fprintf(stderr, "qxwinhost: OpenProcessToken failed with %lu\n", GetLastError());
        return 2;
    }

    const HANDLE inputFile = CreateFileW(options.input.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                         FILE_ATTRIBUTE_NORMAL, nullptr);
    const HANDLE outputFile = CreateFileW(options.output.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                          FILE_ATTRIBUTE_NORMAL, nullptr);
    if (inputFile == INVALID_HANDLE_VALUE || outputFile == INVALID_HANDLE_VALUE) {
        return Usage("the input or the output cannot be opened");
    }

    auto* bag = new PropertyBag;
    auto* driverBag = new DriverPropertyBag(std::move(driverValues));
    const BSTR printerName = SysAllocString(options.printer.c_str());
    AddValue(*bag, XPS_FP_PRINTER_NAME, VT_BSTR, 0, printerName);
    AddValue(*bag, XPS_FP_PRINTER_HANDLE, VT_UINT_PTR, reinterpret_cast<ULONG_PTR>(printer));
    AddValue(*bag, XPS_FP_JOB_ID, VT_UI4, jobId == 0 ? 1 : jobId);
    AddValue(*bag, XPS_FP_USER_TOKEN, VT_UINT_PTR, reinterpret_cast<ULONG_PTR>(token));
    AddValue(*bag, XPS_FP_DRIVER_PROPERTY_BAG, VT_UNKNOWN, 0, nullptr, static_cast<IPrinterPropertyBag*>(driverBag));
    SysFreeString(printerName);
    auto* progress = new ProgressReport;
    AddValue(*bag, XPS_FP_PROGRESS_REPORT, VT_UNKNOWN, 0, nullptr, progress);

    auto* reader = new FileReadStream(inputFile);
    auto* writer = new FileWriteStream(outputFile);
    auto* communicator = new Communicator(reader, writer);
    auto* control = new PipelineControl;

    std::printf("Windows pipeline host\n");
    std::printf("  module    %s\n", Utf8(options.module).c_str());
    std::printf("  input     %s, %zu bytes\n", Utf8(options.input).c_str(), input.size());
    std::printf("  printer   %s (Wine spooler, port FILE:), job %lu\n", Utf8(options.printer).c_str(), jobId);
    std::printf("  driver    IPrinterPropertyBag, %zu values\n", driverBag->Count());

    HRESULT startResult = E_FAIL;
    bool closedByFilter = false;
    int status = 1;
    const HMODULE module = LoadLibraryW(options.module.c_str());
    if (module == nullptr) {
        std::fprintf(stderr, "qxwinhost: the module cannot be loaded (%lu)\n", GetLastError());
        status = 2;
    } else {
        using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
        using CanUnloadNow = HRESULT(STDAPICALLTYPE*)();
        const auto getClassObject = reinterpret_cast<GetClassObject>(
            reinterpret_cast<void*>(GetProcAddress(module, "DllGetClassObject")));
        const auto canUnloadNow = reinterpret_cast<CanUnloadNow>(
            reinterpret_cast<void*>(GetProcAddress(module, "DllCanUnloadNow")));
        // The filter's class as the pipeline configuration names it.
        const CLSID filterClass = {0x71466c95, 0xf6ac, 0x4f67, {0x83, 0x5d, 0x2f, 0x5f, 0x66, 0xe3, 0xed, 0xe4}};
        IClassFactory* factory = nullptr;
        hr = getClassObject == nullptr ? E_NOINTERFACE : getClassObject(filterClass, IID_IClassFactory, reinterpret_cast<void**>(&factory));
        std::printf("  DllGetClassObject 0x%08lx\n", hr);
        IPrintPipelineFilter* filter = nullptr;
        if (SUCCEEDED(hr)) {
            hr = factory->CreateInstance(nullptr, IID_IPrintPipelineFilter, reinterpret_cast<void**>(&filter));
            factory->Release();
            std::printf("  CreateInstance 0x%08lx\n", hr);
        }
        if (SUCCEEDED(hr)) {
            hr = filter->InitializeFilter(communicator, bag, control);
            std::printf("  InitializeFilter 0x%08lx\n", hr);
        }
        if (SUCCEEDED(hr)) {
            FilterCall call{filter, E_FAIL};
            const HANDLE thread = CreateThread(nullptr, 0, RunFilter, &call, 0, nullptr);
            WaitForSingleObject(thread, INFINITE);
            CloseHandle(thread);
            startResult = call.result;
            std::printf("  StartOperation 0x%08lx%s\n", startResult, startResult == S_OK ? " S_OK" : "");
        }
        if (filter != nullptr) {
            filter->Release();
        }
        closedByFilter = writer->Closed();
        std::printf("  writer    %s\n", closedByFilter ? "closed by the filter" : "left open by the filter");
        std::printf("  pipeline  RequestShutdown %ld (0x%08lx), FilterFinished %ld\n", control->shutdownRequests,
                    control->shutdownReason, control->finished);
        if (canUnloadNow != nullptr) {
            const HRESULT unload = canUnloadNow();
            std::printf("  DllCanUnloadNow 0x%08lx\n", unload);
            if (unload == S_OK) {
                FreeLibrary(module);
            }
        }
    }

    std::printf("  progress  %ld reports\n", progress->reports);
    std::printf("Property bag\n");
    for (auto& entry : bag->Snapshot()) {
        std::printf("  %s = %s\n", Utf8(entry.first).c_str(), ValueText(entry.second).c_str());
        VariantClear(&entry.second);
    }

    communicator->Release();
    const bool writeFailed = writer->Failed();
    writer->Close();
    writer->Release();
    reader->Release();
    const bool abortRequested = control->shutdownRequests > 0 && control->shutdownReason == E_ABORT;
    control->Release();
    bag->Release();
    driverBag->Release();
    progress->Release();

    std::vector<char> output;
    const bool outputRead = ReadWhole(options.output, output);
    const bool equal = outputRead && output == input;
    std::printf("Output\n  %zu bytes, %s%s\n", output.size(),
                equal ? "equal to the input" : output.empty() ? "empty" : "DIFFERENT from the input",
                writeFailed ? ", a write failed" : "");

    if (jobId != 0) {
        EndDocPrinter(printer);
    }
    DeleteFileW(spoolFile);
    ClosePrinter(printer);
    CloseHandle(token);
    CoRevokeClassObject(bidiCookie);
    CoRevokeClassObject(xpsCookie);
    if (status == 2) {
        return 2;
    }
    if (options.expectAbort) {
        return startResult == E_ABORT && abortRequested && closedByFilter && outputRead &&
                       output.empty() && !writeFailed
                   ? 0
                   : 1;
    }
    return startResult == S_OK && equal && !writeFailed ? 0 : 1;
}

}  // namespace

int wmain(int argc, wchar_t** argv)
{
    Options options;
    for (int index = 1; index < argc; ++index) {
        const std::wstring option = argv[index];
        if (index + 1 >= argc) {
            return Usage("an option lacks its value");
        }
        const std::wstring value = argv[++index];
        if (option == L"--module") {
            options.module = value;
        } else if (option == L"--input") {
            options.input = value;
        } else if (option == L"--output") {
            options.output = value;
        } else if (option == L"--driver-properties") {
            options.driverProperties = value;
        } else if (option == L"--printer") {
            options.printer = value;
        } else if (option == L"--expect") {
            if (value != L"done" && value != L"abort") {
                return Usage("--expect takes done or abort");
            }
            options.expectAbort = value == L"abort";
        } else {
            return Usage("unknown option");
        }
    }
    if (options.module.empty() || options.input.empty() || options.output.empty() || options.driverProperties.empty()) {
        return Usage("--module, --input, --output and --driver-properties are required");
    }
    // The host's own thread joins the multithreaded apartment, where the class objects it
    // registers are found by the filter's thread.
    if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {
        return 2;
    }
    const int status = RunJob(options);
    CoUninitialize();
    std::fflush(stdout);
    return status;
}
