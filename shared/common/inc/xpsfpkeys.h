// Keys of the job values the driver's filters exchange through the pipeline property bag.
#pragma once

inline constexpr wchar_t XPS_FP_INPUTBIN[] = L"XPS_FP_INPUTBIN";
inline constexpr wchar_t XPS_FP_ROTATION[] = L"XPS_FP_ROTATION";
inline constexpr wchar_t XPS_FP_OUTPUTCOLOR[] = L"XPS_FP_OUTPUTCOLOR";
inline constexpr wchar_t XPS_FP_SETTINGSCHANGEDINPRINTPREVIEW[] = L"XPS_FP_SETTINGSCHANGEDINPRINTPREVIEW";
inline constexpr wchar_t XPS_FP_SCALINGMODE[] = L"XPS_FP_SCALINGMODE";
inline constexpr wchar_t XPS_FP_FITTOPAPERMEDIASIZEWIDTH[] = L"XPS_FP_FITTOPAPERMEDIASIZEWIDTH";
inline constexpr wchar_t XPS_FP_FITTOPAPERMEDIASIZEHEIGHT[] = L"XPS_FP_FITTOPAPERMEDIASIZEHEIGHT";
inline constexpr wchar_t XPS_FP_FITTOPAPER[] = L"XPS_FP_FITTOPAPER";
inline constexpr wchar_t XPS_FP_SCALINGPERCENTAGE[] = L"XPS_FP_SCALINGPERCENTAGE";
inline constexpr wchar_t XPS_FP_PIN[] = L"XPS_FP_PIN";
inline constexpr wchar_t XPS_FP_PRIVACYLEVEL[] = L"XPS_FP_PRIVACYLEVEL";
inline constexpr wchar_t XPS_FP_NUMBERPAGES[] = L"XPS_FP_NUMBERPAGES";
inline constexpr wchar_t XPS_FP_TOTALNUMBERPAGES[] = L"XPS_FP_TOTALNUMBERPAGES";
inline constexpr wchar_t XPS_FP_PRNFILEPATH[] = L"XPS_FP_PRNFILEPATH";
