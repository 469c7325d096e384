// A conversation with the job's printer through the spooler's bidi object: the thread joins the
// multithreaded apartment, the object is bound to the printer for the user, and each Get returns
// the printer's answer as a table from schema name to value text (or to typed value, with Query).
#pragma once

#include <map>
#include <optional>
#include <string>

#include <bidispl.h>
#include <wrl/client.h>

#include "raiiowners.h"

using BidiValues = std::map<std::wstring, std::wstring>;

// One answered value: its type as the response names it ("BIDI_INT", "BIDI_STRING", ...; empty
// when the entry holds no typed value element) and its text.
struct BidiEntry {
    std::wstring type;
    std::wstring text;
};
using BidiEntries = std::map<std::wstring, BidiEntry>;

class BidiConnection {
public:
    explicit BidiConnection(const std::wstring& printerName);
    ~BidiConnection();

    // Whether the printer could be bound; an unbound connection answers nothing.
    bool IsBound() const { return m_bound; }

    // One bidi Get request with a single query for the schema; nothing when the request fails.
    std::optional<BidiValues> Get(const std::wstring& schema);
    // The same request, with each value's type kept.
    std::optional<BidiEntries> Query(const std::wstring& schema);

    BidiConnection(const BidiConnection&) = delete;
    BidiConnection& operator=(const BidiConnection&) = delete;

private:
    ComApartment m_apartment;
    Microsoft::WRL::ComPtr<IBidiSpl2> m_bidi;
    bool m_bound = false;
};

// The Schema entries of a bidi response: each entry's "name" attribute and its value's text.
// Nothing when the response is not an XML document.
std::optional<BidiValues> ReadBidiSchemaValues(const std::wstring& response);
// The same entries with the name of each one's value element as its type.
std::optional<BidiEntries> ReadBidiSchemaEntries(const std::wstring& response);
