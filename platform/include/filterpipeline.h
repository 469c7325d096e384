// The print filter pipeline's interfaces, as a filter sees them.
#pragma once

#include "objbase.h"

// Everything an IImgErrorInfo holds, handed over at once by DetachErrorInfo.
struct ImgErrorInfo {
    BSTR description;
    GUID guid;
    DWORD helpContext;
    BSTR helpFile;
    BSTR source;
    BSTR devDescription;
    GUID errorID;
    ULONG cUserParameters;
    BSTR* aUserParameters;
    BSTR userFallback;
    DWORD exceptionID;
};

struct IImgErrorInfo : IErrorInfo {
    using BaseInterface = IErrorInfo;
    static constexpr IID iid = {0x2BCE4ECE, 0xD30E, 0x445A, {0x94, 0x23, 0x68, 0x29, 0xBE, 0x94, 0x5A, 0xD8}};
    virtual HRESULT GetDeveloperDescription(BSTR* pbstrDevDescription) = 0;
    virtual HRESULT GetUserErrorId(GUID* pErrorId) = 0;
    virtual HRESULT GetUserParameterCount(ULONG* pcUserParams) = 0;
    virtual HRESULT GetUserParameter(ULONG cParam, BSTR* pbstrParam) = 0;
    virtual HRESULT GetUserFallback(BSTR* pbstrFallback) = 0;
    virtual HRESULT GetExceptionId(DWORD* pExceptionId) = 0;
    virtual HRESULT DetachErrorInfo(ImgErrorInfo* pErrorInfo) = 0;
};

struct IPrintReadStream : IUnknown {
    static constexpr IID iid = {0x4D47A67C, 0x66CC, 0x4430, {0x85, 0x0E, 0xDA, 0xF4, 0x66, 0xFE, 0x5B, 0xC4}};
    virtual HRESULT Seek(LONGLONG dlibMove, DWORD dwOrigin, ULONGLONG* plibNewPosition) = 0;
    // Waits until the previous filter has written data or closed its output.
    virtual HRESULT ReadBytes(void* pvBuffer, ULONG cbRequested, ULONG* pcbRead, BOOL* pbEndOfFile) = 0;
};

struct IPrintWriteStream : IUnknown {
    static constexpr IID iid = {0x65BB7F1B, 0x371E, 0x4571, {0x8A, 0xC7, 0x91, 0x2F, 0x51, 0x0C, 0x1A, 0x38}};
    virtual HRESULT WriteBytes(const void* pvBuffer, ULONG cbBuffer, ULONG* pcbWritten) = 0;
    virtual void Close() = 0;
};

struct IInterFilterCommunicator : IUnknown {
    static constexpr IID iid = {0x4DAF1E69, 0x81FD, 0x462D, {0x94, 0x0F, 0x8C, 0xD3, 0xDD, 0xF5, 0x6F, 0xCA}};
    virtual HRESULT RequestReader(void** ppIReader) = 0;
    virtual HRESULT RequestWriter(void** ppIWriter) = 0;
};

struct IPrintPipelinePropertyBag : IUnknown {
    static constexpr IID iid = {0x8B8C99DC, 0x7892, 0x4A95, {0x8A, 0x04, 0x57, 0x42, 0x2E, 0x9F, 0xBB, 0x47}};
    virtual HRESULT AddProperty(const wchar_t* pszName, const VARIANT* pVar) = 0;
    virtual HRESULT GetProperty(const wchar_t* pszName, VARIANT* pVar) = 0;
    virtual BOOL DeleteProperty(const wchar_t* pszName) = 0;
};

struct IPrintPipelineManagerControl : IUnknown {
    static constexpr IID iid = {0xAA3E4910, 0x5889, 0x4681, {0x91, 0xEF, 0x82, 0x3A, 0xD4, 0xED, 0x4E, 0x44}};
    virtual HRESULT RequestShutdown(HRESULT hrReason, IImgErrorInfo* pReason) = 0;
    virtual HRESULT FilterFinished() = 0;
};

enum EXpsJobConsumption : DWORD {
    XpsJob_DocumentSequenceAdded = 0,
    XpsJob_FixedDocumentAdded = 1,
    XpsJob_FixedPageAdded = 2,
};

struct IPrintPipelineProgressReport : IUnknown {
    static constexpr IID iid = {0xEDC12C7C, 0xED40, 0x4EA5, {0x96, 0xA6, 0x5E, 0x43, 0x97, 0x49, 0x7A, 0x61}};
    virtual HRESULT ReportProgress(EXpsJobConsumption update) = 0;
};

struct IPrintPipelineFilter : IUnknown {
    static constexpr IID iid = {0xCDB62FC0, 0x8BED, 0x434E, {0x86, 0xFB, 0xA2, 0xCA, 0xE5, 0x5F, 0x19, 0xEA}};
    virtual HRESULT InitializeFilter(IInterFilterCommunicator* pINegotiation, IPrintPipelinePropertyBag* pIPropertyBag,
                                     IPrintPipelineManagerControl* pIPipelineControl) = 0;
    virtual HRESULT ShutdownOperation() = 0;
    virtual HRESULT StartOperation() = 0;
};

inline constexpr const IID& IID_IImgErrorInfo = IImgErrorInfo::iid;
inline constexpr const IID& IID_IPrintReadStream = IPrintReadStream::iid;
inline constexpr const IID& IID_IPrintWriteStream = IPrintWriteStream::iid;
inline constexpr const IID& IID_IInterFilterCommunicator = IInterFilterCommunicator::iid;
inline constexpr const IID& IID_IPrintPipelinePropertyBag = IPrintPipelinePropertyBag::iid;
inline constexpr const IID& IID_IPrintPipelineManagerControl = IPrintPipelineManagerControl::iid;
inline constexpr const IID& IID_IPrintPipelineProgressReport = IPrintPipelineProgressReport::iid;
inline constexpr const IID& IID_IPrintPipelineFilter = IPrintPipelineFilter::iid;
