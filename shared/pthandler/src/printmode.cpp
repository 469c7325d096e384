#include "printmode.h"

#include <sstream>

#include "hrerror.h"
#include "ptfeaturedescs.h"
#include "ptlist.h"
#include "ptmediatype.h"

namespace {

// The ticket's option of the feature, or the feature's default: a print mode is named by both.
template <class T, const FeatureDesc<T>& desc>
std::uint32_t OptionBits(IXMLDOMDocument2* document)
{
    GenericPTFeatureList<T, desc> list(document);
    T value = desc.defaultValue;
    list.GetValue(&value);
    return static_cast<std::uint32_t>(value);
}

}  // namespace

PrintMode::PrintMode(IXMLDOMDocument2* document, IPrinterDriverProperties* driverProperties)
    : m_document(document), m_driverProperties(driverProperties)
{
}

std::uint32_t PrintMode::GetPrintModeCode()
{
    const std::uint32_t quality = OptionBits<EQuality, qualityDesc>(m_document);
    const std::uint32_t economode = OptionBits<EOnOff, economodeDesc>(m_document);
    const std::uint32_t maxDetail = OptionBits<EOnOff, maxDetailDesc>(m_document);
    const std::uint32_t morePasses = OptionBits<EOnOff, morePassesDesc>(m_document);
    const std::uint32_t unidirectional = OptionBits<EOnOff, unidirectionalDesc>(m_document);
    return (unidirectional << 7) | ((((morePasses * 2) | maxDetail) * 2 | economode) << 4) | quality;
}

std::wstring PrintMode::GetTypeFamilyNameBasedOnPaperType()
{
    PTMediaType mediaType(m_document);
    std::wstring familyPaperType;
    m_driverProperties->GetFamilyPaperType(familyPaperType);
    EMediaType type = EMediaType::AutoSelect;
    mediaType.GetValue(&type);
    std::wstring medium;
    mediaType.GetMediaTypeDonor(type, medium);

    std::size_t at = familyPaperType.find(medium);
    if (at == std::wstring::npos) {
        QXLOG_ERROR(L"We haven't found a PM category for the media type. Default one will be selected");
        at = familyPaperType.find(L"AutoSelect");
    }
    if (at == std::wstring::npos) {
        // Without even a default entry the driver declares no print mode for this job.
        THROW_HR(HRESULT_FROM_WIN32(ERROR_NOT_FOUND));
    }
    std::wstring category;
    ExtractQuotedValue(familyPaperType.substr(at), L"PMCategory", category);
    return category;
}

std::wstring PrintMode::GetPrintModeKey()
{
    std::wostringstream key;
    key << GetTypeFamilyNameBasedOnPaperType();
    key << L"-";
    key << GetPrintModeCode();
    return key.str();
}

XpsResolution::XpsResolution(IPrinterDriverProperties* driverProperties) : m_driverProperties(driverProperties) {}

void XpsResolution::LoadPrintModeRecord(const std::wstring& key)
{
    std::wstring record;
    m_driverProperties->GetDriverProperty(key, record);
}
