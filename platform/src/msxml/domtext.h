// Text at the DOM's boundary: UTF-8 inside libxml2, wide text in BSTRs and VARIANTs outside.
#pragma once

#include <optional>
#include <string>

#include <libxml/xmlstring.h>

#include "oleauto.h"

namespace platform::msxml {

// A BSTR argument as UTF-8. Read up to its terminator, so that a plain wide string passed where a
// BSTR belongs reads as it would with MSXML; null reads as empty.
std::string Utf8Of(const wchar_t* text);
std::wstring WideOf(const xmlChar* text);
std::wstring WideOf(const std::string& text);
inline const xmlChar* Xml(const std::string& text) { return reinterpret_cast<const xmlChar*>(text.c_str()); }

// Out-parameter helpers: S_OK with a new BSTR, or E_OUTOFMEMORY.
HRESULT ReturnText(const std::wstring& text, BSTR* out);
HRESULT ReturnText(const std::string& utf8, BSTR* out);
// S_OK with the text, or S_FALSE with null when there is none.
HRESULT ReturnOptionalText(const std::optional<std::string>& utf8, BSTR* out);
HRESULT ReturnTextVariant(const std::string& utf8, VARIANT* out);
HRESULT ReturnNullVariant(VARIANT* out);

// A value given to put_nodeValue, setAttribute and the like, as text: strings and numbers.
std::optional<std::string> VariantText(const VARIANT& value);

// Text that libxml2 allocated, freed with xmlFree.
std::string TakeXmlString(xmlChar* text);

}  // namespace platform::msxml
