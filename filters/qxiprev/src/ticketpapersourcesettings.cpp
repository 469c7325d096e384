#include "ticketpapersourcesettings.h"

namespace {

template <class Value>
std::int32_t AsInt32(Value value)
{
    return static_cast<std::int32_t>(value);
}

}  // namespace

std::int32_t TicketPaperSourceSettings::GetInputBin() const { return AsInt32(m_settings.GetInputBin()); }
std::int32_t TicketPaperSourceSettings::GetRotation() const { return AsInt32(m_settings.GetRotation()); }
std::int32_t TicketPaperSourceSettings::GetMediaType() const { return AsInt32(m_settings.GetMediaType()); }
std::int32_t TicketPaperSourceSettings::GetMediaSizeWidth() const { return AsInt32(m_settings.GetMediaSizeWidth()); }
std::int32_t TicketPaperSourceSettings::GetMediaSizeHeight() const { return AsInt32(m_settings.GetMediaSizeHeight()); }
std::int32_t TicketPaperSourceSettings::GetScalingMode() const { return AsInt32(m_settings.GetScaling().mode); }
std::int32_t TicketPaperSourceSettings::GetScalingPercentage() const { return AsInt32(m_settings.GetScaling().percentage); }
std::int32_t TicketPaperSourceSettings::GetFitToPaperWidth() const { return AsInt32(m_settings.GetScaling().paperWidth); }
std::int32_t TicketPaperSourceSettings::GetFitToPaperHeight() const
{
    return AsInt32(m_settings.GetScaling().paperHeight);
}
std::int32_t TicketPaperSourceSettings::GetOrientation() const { return AsInt32(m_settings.GetOrientation()); }
std::int32_t TicketPaperSourceSettings::GetMarginsLayout() const { return AsInt32(m_settings.GetMarginsLayout()); }
std::int32_t TicketPaperSourceSettings::GetUserMargin() const { return AsInt32(m_settings.GetUserMargin()); }
