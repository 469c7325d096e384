#include "terminaldialog.h"

#include <cerrno>
#include <cstdlib>
#include <istream>
#include <limits>
#include <ostream>
#include <string>

#include "settingsfieldnames.h"
#include "utf16text.h"

namespace previewapp {

namespace {

struct ChangeChoice {
    char key;
    const char* label;
    std::optional<std::int32_t> SettingsChanges::*change;
    MorvikField field;
};

const ChangeChoice kChangeChoices[] = {
    {'i', "Input bin", &SettingsChanges::inputBin, kMorvikInputBin},
    {'r', "Rotation", &SettingsChanges::rotation, kMorvikRotation},
    {'o', "Output color", &SettingsChanges::outputColor, kMorvikOutputColor},
    {'s', "Scaling mode", &SettingsChanges::scalingMode, kMorvikScalingMode},
};

constexpr char kChoicePrompt[] =
    "[p]rint, [c]ancel, or change [i]nput bin, [r]otation, [o]utput color, [s]caling mode: ";

template <std::size_t N>
std::string Text(const char16_t (&field)[N])
{
    return Utf16FieldToUtf8(field, N);
}

std::optional<std::int32_t> ParseInt32(const std::string& text)
{
    errno = 0;
    char* end = nullptr;
    const long long value = std::strtoll(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno == ERANGE || value < std::numeric_limits<std::int32_t>::min() ||
        value > std::numeric_limits<std::int32_t>::max()) {
        return std::nullopt;
    }
    return static_cast<std::int32_t>(value);
}

}  // namespace

void TerminalDialog::ShowJob(const ReceivedJob& job, const std::optional<MorvikSettingsRecord>& settings) const
{
    const PrintPreviewData& data = job.data;
    m_out << "Document:    " << Text(data.documentName) << '\n'
          << "Printer:     " << Text(data.printerName) << '\n'
          << "Pages:       " << data.pageCount << ", copies " << data.copies << '\n'
          << "Media size:  " << data.mediaWidth << " x " << data.mediaHeight << '\n'
          << "Roll width:  " << data.rollWidth << " um\n"
          << "Scaling:     " << data.scalingPercentage << " %, fit to paper " << data.fitToPaperWidth << " x "
          << data.fitToPaperHeight << " (option " << data.fitToPaperOption << ")\n"
          << "Custom media type: " << Text(data.customMediaTypeName) << '\n'
          << "Job file:    " << Text(data.prnFilePath) << '\n'
          << "Software:    " << job.softwareUrl << '\n';
    ShowPaperSources(job);
    if (settings.has_value()) {
        ShowSettings(*settings);
    } else {
        m_out << "Settings:    (the settings text does not decode)\n";
    }
}

void TerminalDialog::ShowPaperSources(const ReceivedJob& job) const
{
    m_out << "Paper sources:" << (job.paperSources.empty() ? " none" : "") << '\n';
    for (const PaperSourceEntry& entry : job.paperSources) {
        m_out << "  " << entry.position << ". " << Text(entry.name) << ": " << entry.width << " x " << entry.length
              << " um, media type " << entry.mediaTypeId << ", source type " << entry.sourceType
              << (entry.installed != 0 ? ", installed" : ", not installed") << '\n';
    }
}

void TerminalDialog::ShowSettings(const MorvikSettingsRecord& settings) const
{
    m_out << "Settings (unset ones left out):\n";
    for (const SettingsFieldName& name : SettingsFieldNames()) {
        if (settings.fields[name.index] != kMorvikUnset) {
            m_out << "  " << name.label << ": " << settings.fields[name.index] << '\n';
        }
    }
}

DialogDecision TerminalDialog::Ask(const std::optional<MorvikSettingsRecord>& settings) const
{
    SettingsChanges changes;
    std::string answer;
    for (;;) {
        m_out << kChoicePrompt << std::flush;
        if (!std::getline(m_in, answer)) {
            return {PreviewMode::Cancel, changes};
        }
        const char key = answer.empty() ? '\0' : answer[0];
        if (key == 'p') {
            return {changes.Any() ? PreviewMode::Change : PreviewMode::Accept, changes};
        }
        if (key == 'c') {
            return {PreviewMode::Cancel, changes};
        }
        AskChange(key, settings, changes);
    }
}

void TerminalDialog::AskChange(char key, const std::optional<MorvikSettingsRecord>& settings,
                               SettingsChanges& changes) const
{
    for (const ChangeChoice& choice : kChangeChoices) {
        if (choice.key != key) {
            continue;
        }
        std::optional<std::int32_t>& change = changes.*choice.change;
        // The value shown is the one the job would print with now: a change made before, else the job's.
        std::optional<std::int32_t> current = change;
        if (!current.has_value() && settings.has_value()) {
            current = settings->fields[choice.field];
        }
        if (const std::optional<std::int32_t> value = AskValue(choice.label, current); value.has_value()) {
            change = value;
        }
    }
}

std::optional<std::int32_t> TerminalDialog::AskValue(const char* label, std::optional<std::int32_t> current) const
{
    m_out << label << " (now " << (current.has_value() ? std::to_string(*current) : std::string("unknown"))
          << "): " << std::flush;
    std::string answer;
    if (!std::getline(m_in, answer)) {
        return std::nullopt;
    }
    const std::optional<std::int32_t> value = ParseInt32(answer);
    if (!value.has_value()) {
        m_out << "Not a number; " << label << " stays as it was.\n";
    }
    return value;
}

}  // namespace previewapp
