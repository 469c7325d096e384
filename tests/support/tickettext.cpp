#include "tickettext.h"

namespace testsupport {

std::wstring Feature(const std::wstring& feature, const std::wstring& option, const std::wstring& content)
{
    const std::wstring opened = L"<psf:Feature name=\"" + feature + L"\"><psf:Option name=\"" + option;
    return (content.empty() ? opened + L"\"/>" : opened + L"\">" + content + L"</psf:Option>") + L"</psf:Feature>\n";
}

std::wstring Option(const std::wstring& feature, const std::wstring& option)
{
    return Feature(feature, feature.substr(0, feature.find(L':') + 1) + option);
}

std::wstring Parameter(const std::wstring& parameter, const std::wstring& value, const std::wstring& type)
{
    return L"<psf:ParameterInit name=\"" + parameter + L"\"><psf:Value xsi:type=\"xsd:" + type + L"\">" + value +
           L"</psf:Value></psf:ParameterInit>\n";
}

std::wstring Scored(const std::wstring& name, const std::wstring& value, const std::wstring& type)
{
    return L"<psf:ScoredProperty name=\"" + name + L"\"><psf:Value xsi:type=\"xsd:" + type + L"\">" + value +
           L"</psf:Value></psf:ScoredProperty>";
}

std::wstring ParameterRef(const std::wstring& property, const std::wstring& parameter)
{
    return L"<psf:ScoredProperty name=\"" + property + L"\"><psf:ParameterRef name=\"" + parameter +
           L"\"/></psf:ScoredProperty>";
}

std::wstring PageScaling(const std::wstring& option, const std::wstring& properties)
{
    return Feature(L"ns0000:PageScaling", L"ns0000:" + option, properties);
}

std::wstring Copies(int copies) { return Parameter(L"psk:JobCopiesAllDocuments", std::to_wstring(copies), L"integer"); }

std::wstring BareTicket(const std::wstring& body) { return kTicketStart + body + kTicketEnd; }

std::wstring Ticket(const std::wstring& body, int copies) { return BareTicket(Copies(copies) + kMediaSizeA1 + body); }

std::wstring PosterTicket()
{
    return Ticket(
        Option(L"psk:JobDuplexAllDocumentsContiguously", L"OneSided") + Option(L"psk:JobInputBin", L"Roll2") +
            Option(L"ns0000:JobEconomode", L"OFF") + Option(L"ns0000:JobUnidirectional", L"ON") +
            Option(L"ns0000:JobMaxDetail", L"ON") + Option(L"ns0000:JobMorePasses", L"ON") +
            Option(L"ns0000:JobMarginsLayout", L"Oversize") + Option(L"ns0000:JobAlignment", L"KeepRight") +
            Option(L"ns0000:JobPrinterEmulation", L"QXColorwave3000") + Option(L"ns0000:JobEnableCropLines", L"ON") +
            Option(L"ns0000:JobEnableAutoCutter", L"OFF") + Option(L"ns0000:JobEnableMultiPageCutter", L"ON") +
            Option(L"ns0000:JobEnableVerticalCutter", L"ON") + Option(L"ns0000:JobPageOrder", L"Reverse") +
            Option(L"ns0000:JobOutputBin", L"Folder") + Option(L"ns0000:JobHoldForAttendedMode", L"ON") +
            Option(L"ns0000:JobPrintPreview", L"ON") + Option(L"ns0000:JobRemoveBlankAreas", L"ON") +
            Option(L"ns0000:JobStorage", L"Personal") + Option(L"ns0000:JobDeleteJobStorageMesa", L"ON") +
            Option(L"ns0000:JobFolderStyle", L"Predefined3") + Option(L"ns0000:JobUserMargin", L"_3mm") +
            Option(L"ns0000:JobRotate", L"None") + Option(L"ns0000:JobPrintQualitySettings", L"Custom") +
            Option(L"ns0000:JobGlossEnhancer", L"FullPage") + Option(L"ns0000:JobFastRenderingMode", L"ON") +
            Option(L"ns0000:JobSizePassTrough", L"ON") + Parameter(L"ns0000:JobPin", L"2468") +
            Parameter(L"ns0000:JobAccountId", L"STUDIO-0815") + Parameter(L"psk:JobComment", L"Proof for Thursday") +
            Option(L"psk:DocumentCollate", L"Collated") + Option(L"psk:PageMediaType", L"Plainpaper") +
            Parameter(L"ns0000:PageMediaTypeId", L"GL190-Studio") +
            Parameter(L"ns0000:PageMediaTypeInit", L"Studio gloss 190") +
            Parameter(L"ns0000:PageMediaTypeDonorId", L"PhotoGlossPaper") +
            Option(L"psk:PageOrientation", L"Landscape") + Option(L"psk:PageOutputColor", L"Grayscale") +
            Option(L"psk:PageOutputQuality", L"High") + Option(L"psk:PageResolution", L"_150dpi") +
            Parameter(L"ns0000:PageRenderResolution", L"_1200dpi") + Option(L"psk:PageColorManagement", L"Driver") +
            Option(L"psk:PageICMRenderingIntent", L"AbsoluteColorimetric") +
            Option(L"ns0000:PageRGBColorManagement", L"AdobeRGB") + Option(L"ns0000:PageCMYKColorManagement", L"TOYO") +
            Option(L"ns0000:PagePantoneEmulation", L"ON") + Option(L"ns0000:PageAutorotate", L"_24inches") +
            Option(L"psk:PageMirrorImage", L"MirrorImageWidth") +
            PageScaling(L"FitToPaperSize", Scored(L"ns0000:PaperWidth", L"420000") +
                                               Scored(L"ns0000:PaperHeight", L"594000") +
                                               Scored(L"ns0000:PaperName", L"ISOA2", L"string")) +
            Parameter(L"ns0000:PageColorAdjustmentLightness", L"12", L"integer") +
            Parameter(L"ns0000:PageColorAdjustmentRed", L"-7", L"integer") +
            Parameter(L"ns0000:PageColorAdjustmentGreen", L"3", L"integer") +
            Parameter(L"ns0000:PageColorAdjustmentBlue", L"9", L"integer") +
            Option(L"psk:PageGrayScaleProcessing", L"PureBlack"),
        3);
}

}  // namespace testsupport
