#include "ptsettings.h"

PTSettings::PTSettings(PrinterDriverProperties* driverProperties) : Settings(driverProperties) {}

EPrivacyLevel PTSettings::GetPrivacyLevel()
{
    // A Mesa printer stores jobs by its own feature; where the ticket names it, it decides.
    if (m_storageMesaFound) {
        return m_storageMesa == EOnOff::ON ? EPrivacyLevel::Pin : EPrivacyLevel::Public;
    }
    return m_privacyLevel;
}

std::int32_t PTSettings::GetPrivacyLevelForPreview()
{
    return m_encryptedPinJob ? kEncryptedPinPrivacyLevel : static_cast<std::int32_t>(GetPrivacyLevel());
}

void PTSettings::SetRotation(ERotate rotation)
{
    m_rotation = rotation;
    m_rotationFound = true;
}

void PTSettings::SetInputBin(EInputBin inputBin)
{
    m_inputBin = inputBin;
    m_inputBinFound = true;
}

void PTSettings::SetOutputColor(EOutputColor outputColor)
{
    m_outputColor = outputColor;
    m_outputColorFound = true;
}

void PTSettings::SetScalingMode(std::uint32_t mode)
{
    m_scaling.mode = mode;
    m_scalingFound = true;
}

std::uint32_t PTSettings::SetScaling(const Scaling& scaling)
{
    m_scaling = scaling;
    m_scalingFound = true;
    return m_scaling.mode;
}
