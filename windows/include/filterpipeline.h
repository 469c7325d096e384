// The print filter pipeline's interfaces (the WDK's filterpipeline.h), which mingw-w64 lacks: the
// ones a filter implements or is handed, each with its SDK base, GUID, and every method in SDK
// order with SDK signatures. Written from the Windows SDK and WDK documentation; C++ only, as the
// driver is. The IIDs are defined here (selectany), since no mingw-w64 import library has them.
#pragma once

#include <windows.h>
#include <objbase.h>
#include <oaidl.h>

#include "imgerror.h"

// Names of the values the pipeline manager puts in the filter's property bag.
#define XPS_FP_PRINTER_NAME L"PrinterName"
#define XPS_FP_PROGRESS_REPORT L"ProgressReport"
#define XPS_FP_PRINTER_HANDLE L"PrinterHandle"
#define XPS_FP_USER_PRINT_TICKET L"PerUserPrintTicket"
#define XPS_FP_USER_TOKEN L"UserSecurityToken"
#define XPS_FP_JOB_ID L"PrintJobId"
#define XPS_FP_PRINT_CLASS_FACTORY L"PrintClassFactory"
#define XPS_FP_OUTPUT_FILE L"PrintOutputFileName"
#define XPS_FP_MS_CONTENT_TYPE L"DriverMultiContentType"
#define XPS_FP_MS_CONTENT_TYPE_XPS L"XPS"
#define XPS_FP_MS_CONTENT_TYPE_OPENXPS L"OpenXPS"
#define XPS_FP_DRIVER_PROPERTY_BAG L"DriverPropertyBag"
#define XPS_FP_QUEUE_PROPERTY_BAG L"QueuePropertyBag"
#define XPS_FP_MERGED_DATAFILE_PATH L"MergedDataFilePath"
#define XPS_FP_RESOURCE_DLL_PATHS L"ResourceDLLPaths"
#define XPS_FP_JOB_LEVEL_PRINTTICKET L"JobPrintTicket"
#define XPS_FP_PRINTDEVICECAPABILITIES L"PrintDeviceCapabilities"
#define XPS_FP_FAX_JOB_PROPERTIES L"JobFaxProperties"

typedef enum {
    XpsJob_DocumentSequenceAdded = 0,
    XpsJob_FixedDocumentAdded = 1,
    XpsJob_FixedPageAdded = 2,
} EXpsJobConsumption;

// One interface: its declaration, its __uuidof binding and its IID_ definition.
#define QX_PIPELINE_IID(name, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8)                                             \
    __CRT_UUID_DECL(name, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8)                                                   \
    EXTERN_C const IID DECLSPEC_SELECTANY IID_##name = {l, w1, w2, {b1, b2, b3, b4, b5, b6, b7, b8}};

MIDL_INTERFACE("4d47a67c-66cc-4430-850e-daf466fe5bc4")
IPrintReadStream : public IUnknown
{
public:
    virtual HRESULT STDMETHODCALLTYPE Seek(LONGLONG dlibMove, DWORD dwOrigin, ULONGLONG* plibNewPosition) = 0;
    virtual HRESULT STDMETHODCALLTYPE ReadBytes(void* pvBuffer, ULONG cbRequested, ULONG* pcbRead,
                                                BOOL* pbEndOfFile) = 0;
};
QX_PIPELINE_IID(IPrintReadStream, 0x4d47a67c, 0x66cc, 0x4430, 0x85, 0x0e, 0xda, 0xf4, 0x66, 0xfe, 0x5b, 0xc4)

MIDL_INTERFACE("65bb7f1b-371e-4571-8ac7-912f510c1a38")
IPrintWriteStream : public IUnknown
{
public:
    virtual HRESULT STDMETHODCALLTYPE WriteBytes(const void* pvBuffer, ULONG cbBuffer, ULONG* pcbWritten) = 0;
    virtual void STDMETHODCALLTYPE Close() = 0;
};
QX_PIPELINE_IID(IPrintWriteStream, 0x65bb7f1b, 0x371e, 0x4571, 0x8a, 0xc7, 0x91, 0x2f, 0x51, 0x0c, 0x1a, 0x38)

MIDL_INTERFACE("4daf1e69-81fd-462d-940f-8cd3ddf56fca")
IInterFilterCommunicator : public IUnknown
{
public:
    virtual HRESULT STDMETHODCALLTYPE RequestReader(void** ppIReader) = 0;
    virtual HRESULT STDMETHODCALLTYPE RequestWriter(void** ppIWriter) = 0;
};
QX_PIPELINE_IID(IInterFilterCommunicator, 0x4daf1e69, 0x81fd, 0x462d, 0x94, 0x0f, 0x8c, 0xd3, 0xdd, 0xf5, 0x6f, 0xca)

MIDL_INTERFACE("aa3e4910-5889-4681-91ef-823ad4ed4e44")
IPrintPipelineManagerControl : public IUnknown
{
public:
    virtual HRESULT STDMETHODCALLTYPE RequestShutdown(HRESULT hrReason, IImgErrorInfo* pReason) = 0;
    virtual HRESULT STDMETHODCALLTYPE FilterFinished() = 0;
};
QX_PIPELINE_IID(IPrintPipelineManagerControl, 0xaa3e4910, 0x5889, 0x4681, 0x91, 0xef, 0x82, 0x3a, 0xd4, 0xed, 0x4e,
                0x44)

MIDL_INTERFACE("8b8c99dc-7892-4a95-8a04-57422e9fbb47")
IPrintPipelinePropertyBag : public IUnknown
{
public:
    virtual HRESULT STDMETHODCALLTYPE AddProperty(const wchar_t* pszName, const VARIANT* pVar) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetProperty(const wchar_t* pszName, VARIANT* pVar) = 0;
    virtual BOOL STDMETHODCALLTYPE DeleteProperty(const wchar_t* pszName) = 0;
};
QX_PIPELINE_IID(IPrintPipelinePropertyBag, 0x8b8c99dc, 0x7892, 0x4a95, 0x8a, 0x04, 0x57, 0x42, 0x2e, 0x9f, 0xbb, 0x47)

MIDL_INTERFACE("edc12c7c-ed40-4ea5-96a6-5e4397497a61")
IPrintPipelineProgressReport : public IUnknown
{
public:
    virtual HRESULT STDMETHODCALLTYPE ReportProgress(EXpsJobConsumption update) = 0;
};
QX_PIPELINE_IID(IPrintPipelineProgressReport, 0xedc12c7c, 0xed40, 0x4ea5, 0x96, 0xa6, 0x5e, 0x43, 0x97, 0x49, 0x7a,
                0x61)

MIDL_INTERFACE("cdb62fc0-8bed-434e-86fb-a2cae55f19ea")
IPrintPipelineFilter : public IUnknown
{
public:
    virtual HRESULT STDMETHODCALLTYPE InitializeFilter(IInterFilterCommunicator* pINegotiation,
                                                       IPrintPipelinePropertyBag* pIPropertyBag,
                                                       IPrintPipelineManagerControl* pIPipelineControl) = 0;
    virtual HRESULT STDMETHODCALLTYPE ShutdownOperation() = 0;
    virtual HRESULT STDMETHODCALLTYPE StartOperation() = 0;
};
QX_PIPELINE_IID(IPrintPipelineFilter, 0xcdb62fc0, 0x8bed, 0x434e, 0x86, 0xfb, 0xa2, 0xca, 0xe5, 0x5f, 0x19, 0xea)

#undef QX_PIPELINE_IID
