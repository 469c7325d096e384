#include "ptcutter.h"

#include "ptfeaturedescs.h"
#include "ptlist.h"

namespace {

constexpr bool Same(EInternalCutter listed, ECutter combined)
{
    return static_cast<int>(listed) == static_cast<int>(combined);
}

static_assert(Same(EInternalCutter::ON, ECutter::CutterOn) &&
                  Same(EInternalCutter::AutoCutterOFF, ECutter::AutoCutterOff) &&
                  Same(EInternalCutter::MultiPageCutterOFF, ECutter::MultiPageCutterOff),
              "a cutter list's value is the combined cutter value");

template <const FeatureDesc<EInternalCutter>& desc>
bool ReadCutter(IXMLDOMDocument2* document, EInternalCutter* cutter)
{
    GenericPTFeatureList<EInternalCutter, desc> list(document);
    return list.GetValue(cutter);
}

}  // namespace

PTCutter::PTCutter(IXMLDOMDocument2* document) : PTFeature<ECutter>(document) {}

bool PTCutter::GetValue(ECutter* cutter)
{
    EInternalCutter autoCutter = EInternalCutter::INVALID;
    const bool autoFound = ReadCutter<cutterAutoDesc>(m_document, &autoCutter);
    if (autoCutter != EInternalCutter::INVALID) {
        *cutter = static_cast<ECutter>(autoCutter);
        return autoFound;
    }
    EInternalCutter multiPageCutter = EInternalCutter::INVALID;
    const bool multiPageFound = ReadCutter<cutterMultiPageDesc>(m_document, &multiPageCutter);
    *cutter = multiPageCutter != EInternalCutter::INVALID ? static_cast<ECutter>(multiPageCutter) : ECutter::CutterOn;
    return multiPageFound;
}

bool PTCutter::IsMultiPageCutterPresent()
{
    EInternalCutter unused = EInternalCutter::INVALID;
    return ReadCutter<cutterMultiPageDesc>(m_document, &unused);
}
