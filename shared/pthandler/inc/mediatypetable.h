// PLACEHOLDER: filled in by the media catalogue.
#pragma once
#define QX_MEDIA_TYPE_OPTIONS(X) X(Invalid, 0) X(AutoSelect, 1) X(Plainpaper, 2)
#define QX_MEDIA_IDS(X) X(Plainpaper, "stationery")
