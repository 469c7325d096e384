#include "pipelinehost/hresulttext.h"

#include <cstdio>
#include <iterator>

#include <xpsobjectmodel.h>

namespace pipelinehost {
namespace {

struct NamedCode {
    HRESULT hr;
    const char* name;
};

constexpr NamedCode kHresults[] = {
    {S_OK, "S_OK"},
    {S_FALSE, "S_FALSE"},
    {E_NOTIMPL, "E_NOTIMPL"},
    {E_NOINTERFACE, "E_NOINTERFACE"},
    {E_POINTER, "E_POINTER"},
    {E_ABORT, "E_ABORT"},
    {E_FAIL, "E_FAIL"},
    {E_UNEXPECTED, "E_UNEXPECTED"},
    {E_ACCESSDENIED, "E_ACCESSDENIED"},
    {E_HANDLE, "E_HANDLE"},
    {E_OUTOFMEMORY, "E_OUTOFMEMORY"},
    {E_INVALIDARG, "E_INVALIDARG"},
    {CLASS_E_NOAGGREGATION, "CLASS_E_NOAGGREGATION"},
    {CLASS_E_CLASSNOTAVAILABLE, "CLASS_E_CLASSNOTAVAILABLE"},
    {REGDB_E_CLASSNOTREG, "REGDB_E_CLASSNOTREG"},
    {CO_E_NOTINITIALIZED, "CO_E_NOTINITIALIZED"},
    {RPC_E_CHANGED_MODE, "RPC_E_CHANGED_MODE"},
    {STG_E_INVALIDFUNCTION, "STG_E_INVALIDFUNCTION"},
    {STG_E_INVALIDPOINTER, "STG_E_INVALIDPOINTER"},
    {STG_E_MEDIUMFULL, "STG_E_MEDIUMFULL"},
    {STG_E_INVALIDPARAMETER, "STG_E_INVALIDPARAMETER"},
    {static_cast<HRESULT>(0x8003001E), "STG_E_READFAULT"},
    {static_cast<HRESULT>(0x8003001D), "STG_E_WRITEFAULT"},
    {DISP_E_TYPEMISMATCH, "DISP_E_TYPEMISMATCH"},
};

// A bad job ends in the document or packaging layer's own codes; a bare hex there sends the reader
// to the headers, so they are named with the layer that refused the job.
#define QX_NAMED(code) {code, #code}
constexpr NamedCode kXpsErrors[] = {
    QX_NAMED(XPS_E_INVALID_PAGE_SIZE), QX_NAMED(XPS_E_INVALID_FLOAT), QX_NAMED(XPS_E_UNEXPECTED_CONTENT_TYPE),
    QX_NAMED(XPS_E_INVALID_MARKUP), QX_NAMED(XPS_E_MISSING_DOCUMENTSEQUENCE_RELATIONSHIP),
    QX_NAMED(XPS_E_MISSING_REFERRED_DOCUMENT), QX_NAMED(XPS_E_MISSING_REFERRED_PAGE),
    QX_NAMED(XPS_E_MULTIPLE_DOCUMENTSEQUENCE_RELATIONSHIPS), QX_NAMED(XPS_E_MULTIPLE_PRINTTICKETS_ON_DOCUMENT),
    QX_NAMED(XPS_E_MULTIPLE_PRINTTICKETS_ON_DOCUMENTSEQUENCE), QX_NAMED(XPS_E_MULTIPLE_REFERENCES_TO_PART),
    QX_NAMED(XPS_E_INDEX_OUT_OF_RANGE),
};
constexpr NamedCode kOpcErrors[] = {
    QX_NAMED(OPC_E_INVALID_CONTENT_TYPE_XML), QX_NAMED(OPC_E_MISSING_CONTENT_TYPES), QX_NAMED(OPC_E_INVALID_RELS_XML),
    QX_NAMED(OPC_E_DUPLICATE_PART), QX_NAMED(OPC_E_DUPLICATE_PIECE), QX_NAMED(OPC_E_INVALID_PIECE),
    QX_NAMED(OPC_E_MISSING_PIECE), QX_NAMED(OPC_E_NO_SUCH_PART), QX_NAMED(OPC_E_ZIP_INCORRECT_DATA_SIZE),
    QX_NAMED(OPC_E_ZIP_CORRUPTED_ARCHIVE), QX_NAMED(OPC_E_ZIP_COMPRESSION_FAILED),
    QX_NAMED(OPC_E_ZIP_DECOMPRESSION_FAILED), QX_NAMED(OPC_E_ZIP_INCONSISTENT_FILEITEM),
    QX_NAMED(OPC_E_ZIP_UNSUPPORTEDARCHIVE), QX_NAMED(OPC_E_ZIP_CENTRAL_DIRECTORY_TOO_LARGE),
    QX_NAMED(OPC_E_ZIP_MISSING_END_OF_CENTRAL_DIRECTORY),
};
#undef QX_NAMED

struct CodeFamily {
    const NamedCode* begin;
    const NamedCode* end;
    const char* kind;
};
const CodeFamily kFamilies[] = {
    {std::begin(kXpsErrors), std::end(kXpsErrors), "XPS document error"},
    {std::begin(kOpcErrors), std::end(kOpcErrors), "OPC package error"},
};

const CodeFamily* FamilyOf(HRESULT hr)
{
    for (const CodeFamily& family : kFamilies) {
        for (const NamedCode* known = family.begin; known != family.end; ++known) {
            if (known->hr == hr) {
                return &family;
            }
        }
    }
    return nullptr;
}

// Win32 errors that reach a filter wrapped as HRESULT_FROM_WIN32; those with their own E_ name
// (E_ACCESSDENIED, E_HANDLE, E_OUTOFMEMORY, E_INVALIDARG) are found in the table above first.
constexpr NamedCode kWin32Errors[] = {
    {ERROR_FILE_NOT_FOUND, "ERROR_FILE_NOT_FOUND"},
    {ERROR_PATH_NOT_FOUND, "ERROR_PATH_NOT_FOUND"},
    {ERROR_NOT_ENOUGH_MEMORY, "ERROR_NOT_ENOUGH_MEMORY"},
    {ERROR_WRITE_PROTECT, "ERROR_WRITE_PROTECT"},
    {ERROR_DISK_FULL, "ERROR_DISK_FULL"},
    {ERROR_PRINT_CANCELLED, "ERROR_PRINT_CANCELLED"},
    {ERROR_INSUFFICIENT_BUFFER, "ERROR_INSUFFICIENT_BUFFER"},
    {ERROR_NOT_LOCKED, "ERROR_NOT_LOCKED"},
    {ERROR_ALREADY_EXISTS, "ERROR_ALREADY_EXISTS"},
    {ERROR_NOT_OWNER, "ERROR_NOT_OWNER"},
    {1168, "ERROR_NOT_FOUND"},
    {ERROR_TIMEOUT, "ERROR_TIMEOUT"},
};

constexpr unsigned kFacilityWin32Mask = 0xFFFF0000u;
constexpr unsigned kFacilityWin32Bits = 0x80070000u;

}  // namespace

std::string HresultName(HRESULT hr)
{
    for (const NamedCode& known : kHresults) {
        if (known.hr == hr) {
            return known.name;
        }
    }
    if (const CodeFamily* family = FamilyOf(hr)) {
        for (const NamedCode* known = family->begin; known != family->end; ++known) {
            if (known->hr == hr) {
                return known->name;
            }
        }
    }
    const auto bits = static_cast<unsigned>(hr);
    if ((bits & kFacilityWin32Mask) == kFacilityWin32Bits) {
        const auto error = static_cast<HRESULT>(HRESULT_CODE(bits));
        for (const NamedCode& known : kWin32Errors) {
            if (known.hr == error) {
                return std::string("HRESULT_FROM_WIN32(") + known.name + ")";
            }
        }
        return "HRESULT_FROM_WIN32(" + std::to_string(error) + ")";
    }
    return {};
}

std::string HresultHex(HRESULT hr)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(hr));
    return text;
}

std::string HresultShort(HRESULT hr)
{
    std::string name = HresultName(hr);
    return name.empty() ? HresultHex(hr) : name;
}

std::string HresultDescription(HRESULT hr)
{
    std::string text = HresultHex(hr) + " (" + std::to_string(hr);
    const std::string name = HresultName(hr);
    if (!name.empty()) {
        text += ", " + name;
    }
    if (const CodeFamily* family = FamilyOf(hr)) {
        text += std::string(", ") + family->kind;
    }
    return text + ")";
}

}  // namespace pipelinehost
