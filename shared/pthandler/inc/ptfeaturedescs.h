// The ticket's pick-one-option features: one enumeration per option table and one descriptor per
// feature. Keywords are exactly as they follow the prefix in a ticket.
#pragma once

#include <cstdint>

#include "featuredesc.h"
#include "mediatypetable.h"

#define QX_INPUT_BIN_OPTIONS(X) \
    X(AutoSelect, 0) X(Manual, 1) X(Tray, 2) X(Roll, 3) X(Roll1, 4) X(Roll2, 5) X(Roll3, 6) X(Roll4, 7) X(Roll5, 8) \
    X(Roll6, 9) X(SheetFeeder, 10)
#define QX_QUALITY_OPTIONS(X) \
    X(Draft, 0) X(Normal, 1) X(High, 2) X(LinesFast, 3) X(UniformAreas, 4) X(HighDetail, 5)
#define QX_ON_OFF_OPTIONS(X) X(ON, 1) X(OFF, 0)
#define QX_MARGINS_LAYOUT_OPTIONS(X) \
    X(Standard, 0) X(ClipContentsByMargins, 1) X(Oversize, 2) X(BorderlessManual, 3) X(BorderlessAutomatic, 4)
#define QX_ALIGNMENT_OPTIONS(X) X(KeepLeft, 0) X(Center, 1) X(KeepRight, 2) X(UsePrinterSettings, 3)
#define QX_OUTPUT_COLOR_OPTIONS(X) X(Color, 0) X(Grayscale, 1) X(Monochrome, 2)
// The maker's earlier plotters whose output a job can imitate.
#define QX_EMULATED_PRINTER_OPTIONS(X) \
    X(None, 0) X(QXPlotline500, 1) X(QXPlotline650, 2) X(QXPlotline750, 3) X(QXPlotline1050, 4) \
    X(QXColorwave3000, 5) X(QXColorwave5000, 6) X(QXTerraline100, 7) X(QXTerraline800, 8)
#define QX_RGB_COLOR_MANAGEMENT_OPTIONS(X) X(None, 0) X(sRGB, 1) X(AdobeRGB, 2) X(AppleRGB, 3) X(ColorMatchRGB, 4)
#define QX_CMYK_COLOR_MANAGEMENT_OPTIONS(X) \
    X(None, 0) X(CoatedGRACol2006ISO12647, 1) X(DIC, 2) X(EuroscaleUncoatedv2, 3) X(COATED_FOGRA39, 4) \
    X(ISOCoatedv2ECI, 5) X(JapanColor2001Coated, 6) X(JapanColor2001Uncoated, 7) X(JapanColor2002Newspaper, 8) \
    X(JapanColor2003WebCoated, 9) X(JapanWebCoatedAd, 10) X(JMPA, 11) X(PSOLWCImprovedECI, 12) \
    X(PSOUncoatedISO12647ECI, 13) X(TOYO, 14) X(USSheetfedCoatedv2, 15) X(USSheetfedUncoatedv2, 16) \
    X(USWebCoatedSWOPv2, 17) X(USWebUncoatedv2, 18) X(WebCoatedSWOP2006Grade3, 19) X(WebCoatedSWOP2006Grade5, 20)
#define QX_COLLATE_OPTIONS(X) X(Collated, 1) X(Uncollated, 0)
#define QX_REVERSE_OPTIONS(X) X(Standard, 0) X(Reverse, 1) X(FirstPageOnTop, 2) X(LastPageOnTop, 3)
#define QX_OUTPUT_BIN_OPTIONS(X) \
    X(Basket, 0) X(Stacker, 1) X(Folder, 2) X(HighCapacityStacker, 3) X(Genericaccessory, 4) X(AutoSelect, 5) \
    X(RearStacker, 6)
#define QX_PRIVACY_LEVEL_OPTIONS(X) X(Public, 0) X(Delete, 1) X(Personal, 2) X(Pin, 3)
#define QX_MIRROR_OPTIONS(X) X(None, 0) X(MirrorImageWidth, 1) X(MirrorImageHeight, 2)
#define QX_FOLDER_STYLE_OPTIONS(X) \
    X(UsePrinterDefault, 0) X(Predefined1, 1) X(Predefined2, 2) X(Predefined3, 3) X(Predefined4, 4) X(NotFolded, 5) \
    X(Predefined5, 6) X(Predefined6, 7) X(Predefined7, 8) X(Predefined8, 9) X(Predefined9, 10) X(Predefined10, 11) \
    X(DINB210x297, 12) X(DINC210x297, 13) X(DINB210x305, 14) X(FanFoldOnly210, 15) X(DINA19020x297, 16)
#define QX_USER_MARGIN_OPTIONS(X) X(_0mm, 0) X(_3mm, 1) X(_5mm, 2)
#define QX_ORIENTATION_OPTIONS(X) X(Portrait, 0) X(Landscape, 1)
#define QX_ROTATE_OPTIONS(X) X(None, 0) X(Rotate0, 4) X(Rotate90, 1) X(Rotate180, 2) X(Rotate270, 3)
#define QX_AUTOROTATE_OPTIONS(X) \
    X(None, 0) X(Printer, 1) X(_17inches, 2) X(_18inches, 3) X(_24inches, 4) X(_30inches, 5) X(_36inches, 6) \
    X(_40inches, 7) X(_42inches, 8) X(_44inches, 9) X(_50inches, 10) X(_54inches, 11) X(_60inches, 12) \
    X(AUTOROTATEA0, 13) X(AUTOROTATEA1, 14) X(AUTOROTATEA2, 15) X(AUTOROTATEJISB0, 16) X(AUTOROTATEJISB1, 17)
#define QX_COLOR_MANAGEMENT_OPTIONS(X) X(Driver, 1) X(None, 0)
#define QX_PRINT_QUALITY_SETTINGS_OPTIONS(X) X(Custom, 1) X(Standard, 0)
#define QX_GLOSS_ENHANCER_OPTIONS(X) X(Off, 1) X(Economode, 3) X(FullPage, 2)
#define QX_RENDERING_INTENT_OPTIONS(X) \
    X(BusinessGraphics, 0) X(Photographs, 1) X(RelativeColorimetric, 2) X(AbsoluteColorimetric, 3)
// The two cutter features share "ON" but not "OFF", so their combined value tells them apart.
#define QX_AUTO_CUTTER_OPTIONS(X) X(INVALID, 0) X(ON, 1) X(OFF, 2)
#define QX_MULTI_PAGE_CUTTER_OPTIONS(X) X(INVALID, 0) X(ON, 1) X(OFF, 3)
#define QX_RESOLUTION_OPTIONS(X) X(_75dpi, 75) X(_150dpi, 150) X(_300dpi, 300) X(_600dpi, 600) X(_1200dpi, 1200)
// Named sizes in the order that matters to MediaSizeFromPaperName: the first keyword a paper name
// begins with wins.
#define QX_MEDIA_SIZE_OPTIONS(X) \
    X(NorthAmericaLetter, 2) X(NorthAmericaTabloid, 3) X(NorthAmericaCSheet, 4) X(NorthAmericaDSheet, 5) \
    X(NorthAmericaESheet, 6) X(F, 7) X(NorthAmericaLegal, 8) X(NorthAmericaArchitectureASheet, 9) \
    X(NorthAmericaArchitectureBSheet, 10) X(NorthAmericaArchitectureCSheet, 11) X(NorthAmericaArchitectureDSheet, 12) \
    X(NorthAmericaArchitectureESheet, 13) X(ArchE1, 14) X(ArchE2, 15) X(ArchE3, 16) X(ISOA0, 17) X(ISOA1, 18) \
    X(ISOA2, 19) X(ISOA3, 20) X(ISOA4, 21) X(ISOB0, 22) X(ISOB1, 23) X(ISOB2, 24) X(ISOB3, 25) X(ISOB4, 26) \
    X(JISB0, 27) X(JISB1, 28) X(JISB2, 29) X(JISB3, 30) X(JISB4, 31) X(NorthAmericaSuperB, 32) X(SuperCA2, 33) \
    X(SuperDA1, 34) X(NorthAmerica10x12, 35) X(_10X15, 36) X(_11X14, 37) X(_12X16, 38) X(NorthAmerica14x17, 39) \
    X(_14X18, 40) X(_16X20, 41) X(_18X22, 42) X(_20X24, 43) X(_22X28, 44) X(_24X30, 45) X(_30cmX40cm, 46) \
    X(_30cmX45cm, 47) X(_35cmX46cm, 48) X(_40cmX60cm, 49) X(_50cmX76cm, 50) X(_60cmX90cm, 51) \
    X(NorthAmericaExecutive, 52) X(NorthAmericaStatement, 53) X(ISOC0, 54) X(ISOC1, 55) X(ISOC2, 56) X(ISOC3, 57) \
    X(ISOC4, 58)
// Sizes that are no row of the table: 0 from the custom-size parameters, 1 a named size not listed.
#define QX_MEDIA_SIZE_SPECIAL_VALUES(X) X(CustomSize, 0) X(UnlistedSize, 1)
#define QX_MEDIA_SIZE_VALUES(X) QX_MEDIA_SIZE_SPECIAL_VALUES(X) QX_MEDIA_SIZE_OPTIONS(X)

QX_DECLARE_ENUMERATION(EInputBin, QX_INPUT_BIN_OPTIONS)
QX_DECLARE_ENUMERATION(EQuality, QX_QUALITY_OPTIONS)
QX_DECLARE_ENUMERATION(EOnOff, QX_ON_OFF_OPTIONS)
QX_DECLARE_ENUMERATION(EMarginsLayout, QX_MARGINS_LAYOUT_OPTIONS)
QX_DECLARE_ENUMERATION(EAlignment, QX_ALIGNMENT_OPTIONS)
QX_DECLARE_ENUMERATION(EOutputColor, QX_OUTPUT_COLOR_OPTIONS)
QX_DECLARE_ENUMERATION(EEmulatedPrinter, QX_EMULATED_PRINTER_OPTIONS)
QX_DECLARE_ENUMERATION(ERgbColorManagement, QX_RGB_COLOR_MANAGEMENT_OPTIONS)
QX_DECLARE_ENUMERATION(ECmykColorManagement, QX_CMYK_COLOR_MANAGEMENT_OPTIONS)
QX_DECLARE_ENUMERATION(ECollate, QX_COLLATE_OPTIONS)
QX_DECLARE_ENUMERATION(EReverse, QX_REVERSE_OPTIONS)
QX_DECLARE_ENUMERATION(EOutputBin, QX_OUTPUT_BIN_OPTIONS)
QX_DECLARE_ENUMERATION(EPrivacyLevel, QX_PRIVACY_LEVEL_OPTIONS)
QX_DECLARE_ENUMERATION(EMirror, QX_MIRROR_OPTIONS)
QX_DECLARE_ENUMERATION(EFolderStyle, QX_FOLDER_STYLE_OPTIONS)
QX_DECLARE_ENUMERATION(EUserMargin, QX_USER_MARGIN_OPTIONS)
QX_DECLARE_ENUMERATION(EOrientation, QX_ORIENTATION_OPTIONS)
QX_DECLARE_ENUMERATION(ERotate, QX_ROTATE_OPTIONS)
QX_DECLARE_ENUMERATION(EAutorotate, QX_AUTOROTATE_OPTIONS)
QX_DECLARE_ENUMERATION(EColorManagement, QX_COLOR_MANAGEMENT_OPTIONS)
QX_DECLARE_ENUMERATION(EPrintQualitySettings, QX_PRINT_QUALITY_SETTINGS_OPTIONS)
QX_DECLARE_ENUMERATION(EGlossEnhancer, QX_GLOSS_ENHANCER_OPTIONS)
QX_DECLARE_ENUMERATION(ERenderingIntent, QX_RENDERING_INTENT_OPTIONS)
QX_DECLARE_ENUMERATION(EMediaType, QX_MEDIA_TYPE_OPTIONS)
QX_DECLARE_ENUMERATION(EMediaSize, QX_MEDIA_SIZE_VALUES)

// One value per cutter state of either cutter feature.
enum class EInternalCutter : std::int32_t {
    NotSpecified = -1,
    INVALID = 0,
    ON = 1,
    AutoCutterOFF = 2,
    MultiPageCutterOFF = 3,
};

extern const FeatureDesc<EInputBin> inputBinDesc;
extern const FeatureDesc<EQuality> qualityDesc;
extern const FeatureDesc<EOnOff> economodeDesc;
extern const FeatureDesc<EOnOff> unidirectionalDesc;
extern const FeatureDesc<EOnOff> maxDetailDesc;
extern const FeatureDesc<EOnOff> morePassesDesc;
extern const FeatureDesc<EMarginsLayout> marginsLayoutDesc;
extern const FeatureDesc<EAlignment> alignmentDesc;
extern const FeatureDesc<EOutputColor> outputColorDesc;
extern const FeatureDesc<EEmulatedPrinter> emulatedPrinterDesc;
extern const FeatureDesc<ERgbColorManagement> rgbColorMgmDesc;
extern const FeatureDesc<ECmykColorManagement> cmykColorMgmDesc;
extern const FeatureDesc<EOnOff> cropLinesDesc;
extern const FeatureDesc<ECollate> collateDesc;
extern const FeatureDesc<EReverse> reverseDesc;
extern const FeatureDesc<EOutputBin> outputBinDesc;
extern const FeatureDesc<EOnOff> pantoneEmulationDesc;
extern const FeatureDesc<EOnOff> holdForAttendedDesc;
extern const FeatureDesc<EOnOff> verticalCutterDesc;
extern const FeatureDesc<EOnOff> printPreviewDesc;
extern const FeatureDesc<EOnOff> removeBlankAreasDesc;
extern const FeatureDesc<EPrivacyLevel> jobStorageDesc;
extern const FeatureDesc<EMirror> mirrorDesc;
extern const FeatureDesc<EFolderStyle> foldingStylesDesc;
extern const FeatureDesc<EUserMargin> userMarginDesc;
extern const FeatureDesc<EOrientation> orientationDesc;
extern const FeatureDesc<ERotate> rotateDesc;
extern const FeatureDesc<EAutorotate> autorotateDesc;
extern const FeatureDesc<EColorManagement> ColorMgmDesc;
extern const FeatureDesc<EPrintQualitySettings> printQualitySettingsDesc;
extern const FeatureDesc<EGlossEnhancer> glossEnhancerDesc;
extern const FeatureDesc<ERenderingIntent> renderingIntentDesc;
extern const FeatureDesc<EOnOff> fastRenderingModeDesc;
extern const FeatureDesc<EOnOff> sizePassTroughDesc;
extern const FeatureDesc<EOnOff> storageMesaDesc;
extern const FeatureDesc<EOnOff> deleteJobStorageMesaDesc;
extern const FeatureDesc<EInternalCutter> cutterAutoDesc;
extern const FeatureDesc<EInternalCutter> cutterMultiPageDesc;
extern const FeatureDesc<unsigned int> resolutionDesc;
extern const FeatureDesc<EMediaType> mediaTypeDesc;
extern const FeatureDesc<EMediaSize> mediaSizeDesc;
