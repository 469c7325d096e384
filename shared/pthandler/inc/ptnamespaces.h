// The namespaces a print ticket's keywords belong to. Queries match keywords by these URIs, never
// by the prefixes a ticket happens to bind them to.
#pragma once

inline constexpr wchar_t PrintSchemaFrameworkNamespaceUri[] =
    L"http://schemas.microsoft.com/windows/2003/08/printing/printschemaframework";
inline constexpr wchar_t PrintSchemaKeywordsNamespaceUri[] =
    L"http://schemas.microsoft.com/windows/2003/08/printing/printschemakeywords";
// The maker's own features and options.
inline constexpr wchar_t PrivateNamespaceUri[] = L"http://schemas.qx.com/lfp/ptpc/2006/1";
inline constexpr wchar_t XmlSchemaNamespaceUri[] = L"http://www.w3.org/2001/XMLSchema";
inline constexpr wchar_t XmlSchemaInstanceNamespaceUri[] = L"http://www.w3.org/2001/XMLSchema-instance";

// The value of the ticket document's "SelectionNamespaces" property: psf for every query.
inline constexpr wchar_t SelectionNamespacesValue[] =
    L"xmlns:psf='http://schemas.microsoft.com/windows/2003/08/printing/printschemaframework'";
