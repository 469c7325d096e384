// Namespaces, relationship types and content types of OPC, XPS 1.0 and OpenXPS.
#pragma once

#include <string_view>

namespace platform::xps {

inline constexpr std::string_view kContentTypesNamespace =
    "http://schemas.openxmlformats.org/package/2006/content-types";
inline constexpr std::string_view kRelationshipsNamespace =
    "http://schemas.openxmlformats.org/package/2006/relationships";

// XPS 1.0 and OpenXPS name the same elements in different namespaces.
inline constexpr std::string_view kXpsNamespace = "http://schemas.microsoft.com/xps/2005/06";
inline constexpr std::string_view kOpenXpsNamespace = "http://schemas.openxps.org/oxps/v1.0";

inline constexpr std::string_view kXpsFixedRepresentation =
    "http://schemas.microsoft.com/xps/2005/06/fixedrepresentation";
inline constexpr std::string_view kOpenXpsFixedRepresentation =
    "http://schemas.openxps.org/oxps/v1.0/fixedrepresentation";
inline constexpr std::string_view kXpsPrintTicket = "http://schemas.microsoft.com/xps/2005/06/printticket";
inline constexpr std::string_view kOpenXpsPrintTicket = "http://schemas.openxps.org/oxps/v1.0/printticket";

// OpenXPS kept the content types of XPS 1.0.
inline constexpr std::string_view kDocumentSequenceContentType =
    "application/vnd.ms-package.xps-fixeddocumentsequence+xml";
inline constexpr std::string_view kDocumentContentType = "application/vnd.ms-package.xps-fixeddocument+xml";
inline constexpr std::string_view kPageContentType = "application/vnd.ms-package.xps-fixedpage+xml";
inline constexpr std::string_view kPrintTicketContentType = "application/vnd.ms-printing.printticket+xml";

inline bool IsXpsNamespace(std::string_view uri)
{
    return uri == kXpsNamespace || uri == kOpenXpsNamespace;
}

}  // namespace platform::xps
