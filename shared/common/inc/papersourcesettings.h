// What the paper source choice reads from the job's print ticket. The print ticket model lives
// above this library, so the job run hands its settings over through this interface.
//
// Every getter gives the ticket's option value as the print ticket settings report it, -1 when the
// ticket lacks the feature:
//   GetInputBin        JobInputBin: 0 AutoSelect, 2 Tray, 3 Roll, ...
//   GetRotation        JobRotate: 0 None, 1 Rotate90, 4 Rotate0, ...
//   GetMediaType       PageMediaType: 1 AutoSelect, ...
//   GetOrientation     PageOrientation: 0 Portrait, 1 Landscape
//   GetMarginsLayout   JobMarginsLayout: 2 Oversize, ...
//   GetUserMargin      JobUserMargin: 0 _0mm, 1 _3mm, 2 _5mm
// The media size is in micrometres, 0 when the ticket has none. The scaling values are the
// fields of the ticket's scaling record as it holds them: its mode (1 by percentage, 2 fit to
// paper), percentage, and fit-to-paper width and height.
#pragma once

#include <cstdint>

class IPaperSourceSettings {
public:
    virtual ~IPaperSourceSettings() = default;
    virtual std::int32_t GetInputBin() const = 0;
    virtual std::int32_t GetRotation() const = 0;
    virtual std::int32_t GetMediaType() const = 0;
    virtual std::int32_t GetMediaSizeWidth() const = 0;
    virtual std::int32_t GetMediaSizeHeight() const = 0;
    virtual std::int32_t GetScalingMode() const = 0;
    virtual std::int32_t GetScalingPercentage() const = 0;
    virtual std::int32_t GetFitToPaperWidth() const = 0;
    virtual std::int32_t GetFitToPaperHeight() const = 0;
    virtual std::int32_t GetOrientation() const = 0;
    virtual std::int32_t GetMarginsLayout() const = 0;
    virtual std::int32_t GetUserMargin() const = 0;
};
