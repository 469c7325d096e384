#include "pttextparameter.h"

#include "ptticketread.h"

PTTextParameter::PTTextParameter(IXMLDOMDocument2* document, const std::wstring& query, std::size_t characters,
                                 TextReader reader)
    : PTFeature<wchar_t>(document), m_query(query), m_characters(characters), m_reader(reader)
{
}

bool PTTextParameter::ReadText(wchar_t* buffer)
{
    return TicketReadSucceeds([&] { (this->*m_reader)(m_query, buffer, m_characters); });
}
