// A text feature copied into the caller's fixed character buffer. The buffer is empty when the
// text does not fit: a clipped PIN or account id would be worse than none.
#pragma once

#include <cstddef>
#include <string>

#include "ptfeature.h"

class PTTextParameter : public PTFeature<wchar_t> {
public:
    // How the text is taken from the selected node: whole, or an option keyword without prefix.
    using TextReader = void (XMLHandler::*)(const std::wstring& query, wchar_t* buffer, std::size_t characters);

protected:
    // The query must live as long as the object (the features pass process-wide constants).
    PTTextParameter(IXMLDOMDocument2* document, const std::wstring& query, std::size_t characters,
                    TextReader reader = &XMLHandler::GetStringValue);

    // False when the ticket lacks the value; each feature logs that in its own name.
    bool ReadText(wchar_t* buffer);

private:
    const std::wstring& m_query;
    std::size_t m_characters;
    TextReader m_reader;
};
