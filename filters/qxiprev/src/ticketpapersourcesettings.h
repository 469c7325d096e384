// The job's ticket settings as the paper source choice reads them.
#pragma once

#include "papersourcesettings.h"
#include "ptsettings.h"

class TicketPaperSourceSettings : public IPaperSourceSettings {
public:
    // The settings must outlive this view.
    explicit TicketPaperSourceSettings(PTSettings& settings) : m_settings(settings) {}

    std::int32_t GetInputBin() const override;
    std::int32_t GetRotation() const override;
    std::int32_t GetMediaType() const override;
    std::int32_t GetMediaSizeWidth() const override;
    std::int32_t GetMediaSizeHeight() const override;
    std::int32_t GetScalingMode() const override;
    std::int32_t GetScalingPercentage() const override;
    std::int32_t GetFitToPaperWidth() const override;
    std::int32_t GetFitToPaperHeight() const override;
    std::int32_t GetOrientation() const override;
    std::int32_t GetMarginsLayout() const override;
    std::int32_t GetUserMargin() const override;

private:
    PTSettings& m_settings;
};
