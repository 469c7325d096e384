// Print tickets written as text, the way the driver writes them, for tests that load a job's
// settings.
#pragma once

#include <string>

namespace testsupport {

// Inline, so that a test's own ticket constants made from them are initialised after them.
// The declaration and the root with the driver's prefixes:
inline const std::wstring kTicketStart = LR"(<?xml version="1.0" encoding="UTF-8"?>
<psf:PrintTicket xmlns:psf="http://schemas.microsoft.com/windows/2003/08/printing/printschemaframework"
    xmlns:psk="http://schemas.microsoft.com/windows/2003/08/printing/printschemakeywords"
    xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xmlns:xsd="http://www.w3.org/2001/XMLSchema"
    xmlns:ns0000="http://schemas.qx.com/lfp/ptpc/2006/1" version="1">
)";
inline const std::wstring kTicketEnd = L"</psf:PrintTicket>\n";

inline const std::wstring kMediaSizeA1 = LR"(
  <psf:Feature name="psk:PageMediaSize">
    <psf:Option name="psk:ISOA1">
      <psf:ScoredProperty name="psk:MediaSizeWidth">
        <psf:Value xsi:type="xsd:integer">594000</psf:Value></psf:ScoredProperty>
      <psf:ScoredProperty name="psk:MediaSizeHeight">
        <psf:Value xsi:type="xsd:integer">841000</psf:Value></psf:ScoredProperty>
    </psf:Option>
  </psf:Feature>
)";


// A feature with its option named in full (prefix included) and the option's content.
std::wstring Feature(const std::wstring& feature, const std::wstring& option, const std::wstring& content = L"");
// A feature with its option under the feature's own prefix.
std::wstring Option(const std::wstring& feature, const std::wstring& option);
std::wstring Parameter(const std::wstring& parameter, const std::wstring& value, const std::wstring& type = L"string");
std::wstring Scored(const std::wstring& name, const std::wstring& value, const std::wstring& type = L"integer");
// A scored property that takes its value from the parameter.
std::wstring ParameterRef(const std::wstring& property, const std::wstring& parameter);
std::wstring PageScaling(const std::wstring& option, const std::wstring& properties);
std::wstring Copies(int copies);
// The root and the body alone, for tickets that must lack what the driver always writes.
std::wstring BareTicket(const std::wstring& body);
// Every ticket the driver writes carries a copy count and a page size (A1 here).
std::wstring Ticket(const std::wstring& body, int copies = 1);
// Three copies of a poster on a custom gloss medium, fitted to A2, as the driver's configuration
// writes it: every feature the settings read, each with an option other than its default, and
// features they do not read. Print mode Photo-226 (High, max detail, more passes, unidirectional);
// rotation None, so that the auto-rotation counts; output bin Folder, so that the folder style does.
std::wstring PosterTicket();

}  // namespace testsupport
