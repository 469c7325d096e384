#include "previewreport.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>

#include "previewmessages.h"
#include "settingsfieldnames.h"
#include "utf16text.h"

namespace previewapp {

namespace {

using nlohmann::json;

template <std::size_t N>
std::string Text(const char16_t (&field)[N])
{
    return Utf16FieldToUtf8(field, N);
}

template <std::size_t N>
std::string Text(const char (&field)[N])
{
    return NarrowField(field, N);
}

json DataJson(const PrintPreviewData& data)
{
    return json{
        {"pureBlackAndWhiteSupported", data.pureBlackAndWhiteSupported},
        {"paperSourceQuerySupported", data.paperSourceQuerySupported},
        {"reserved", data.reserved},
        {"sizePassThrough", data.sizePassThrough},
        {"platformId", data.platformId},
        {"copies", data.copies},
        {"pageCount", data.pageCount},
        {"mediaWidth", data.mediaWidth},
        {"mediaHeight", data.mediaHeight},
        {"rollWidth", data.rollWidth},
        {"scalingPercentage", data.scalingPercentage},
        {"fitToPaperWidth", data.fitToPaperWidth},
        {"fitToPaperHeight", data.fitToPaperHeight},
        {"fitToPaperOption", data.fitToPaperOption},
        {"pdlId", data.pdlId},
        {"prnFilePath", Text(data.prnFilePath)},
        {"documentName", Text(data.documentName)},
        {"printerName", Text(data.printerName)},
        {"encodedSettings", Text(data.encodedSettings)},
        {"customMediaTypeName", Text(data.customMediaTypeName)},
        {"cropLinesRbaAutorotatePdf", data.cropLinesRbaAutorotatePdf},
    };
}

json PaperSourceJson(const PaperSourceEntry& entry)
{
    return json{
        {"state", entry.state},           {"installed", entry.installed},     {"position", entry.position},
        {"constant8", entry.constant8},   {"width", entry.width},             {"length", entry.length},
        {"mediaTypeId", entry.mediaTypeId}, {"sourceType", entry.sourceType}, {"name", Text(entry.name)},
    };
}

json ResultJson(const PrintPreviewResult& result)
{
    return json{
        {"fitToPaperWidth", result.fitToPaperWidth},
        {"fitToPaperHeight", result.fitToPaperHeight},
        {"fitToPaperOption", result.fitToPaperOption},
        {"encodedSettings", Text(result.encodedSettings)},
        {"scalingPercentage", result.scalingPercentage},
    };
}

std::string Hex(const std::vector<std::uint8_t>& bytes)
{
    static const char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0x0F];
    }
    return text;
}

}  // namespace

PreviewReport::PreviewReport(const PreviewArguments& arguments, PreviewMode mode)
    : m_report{{"version", arguments.version},
               {"inputPipe", arguments.inputPipe},
               {"outputPipe", arguments.outputPipe},
               {"mode", ModeName(mode)},
               {"decision", nullptr},
               {"messages", json::array()},
               {"data", nullptr},
               {"paperSources", json::array()},
               {"paperSourcesComplete", false},
               {"softwareUrl", nullptr},
               {"settings", nullptr},
               {"result", nullptr},
               {"error", nullptr},
               {"exitCode", nullptr},
               {"signal", nullptr}}
{
}

void PreviewReport::SetJob(const ReceivedJob& job)
{
    m_report["messages"] = job.messages;
    if (job.hasData) {
        m_report["data"] = DataJson(job.data);
    }
    for (const PaperSourceEntry& entry : job.paperSources) {
        m_report["paperSources"].push_back(PaperSourceJson(entry));
    }
    m_report["paperSourcesComplete"] = job.paperSourcesComplete;
    if (job.hasSoftwareUrl) {
        m_report["softwareUrl"] = job.softwareUrl;
    }
}

void PreviewReport::SetSettings(const std::optional<MorvikSettingsRecord>& settings)
{
    if (!settings.has_value()) {
        m_report["settings"] = json{{"decoded", false}};
        return;
    }
    json named = json::object();
    for (const SettingsFieldName& name : SettingsFieldNames()) {
        named[name.key] = settings->fields[name.index];
    }
    m_report["settings"] = json{{"decoded", true}, {"fields", settings->fields}, {"named", named}};
}

void PreviewReport::SetDecision(PreviewMode mode)
{
    m_report["decision"] = ModeName(mode);
}

void PreviewReport::SetResult(const std::vector<std::uint8_t>& payload, std::int32_t status)
{
    json result{{"message", PP_MSG_RESULT}, {"size", payload.size()}, {"status", status}, {"hex", Hex(payload)}};
    if (payload.size() == sizeof(PrintPreviewResult)) {
        PrintPreviewResult block{};
        std::memcpy(&block, payload.data(), sizeof(block));
        result["block"] = ResultJson(block);
    }
    m_report["result"] = result;
}

void PreviewReport::SetError(const std::string& message)
{
    m_report["error"] = message;
}

void PreviewReport::SetExitCode(int exitCode)
{
    m_report["exitCode"] = exitCode;
}

void PreviewReport::SetSignal(const char* name)
{
    m_report["signal"] = name;
}

void PreviewReport::Write(const std::string& path) const
{
    if (path.empty()) {
        return;
    }
    // Texts from the filter are not trusted to be UTF-8; a bad sequence must not lose the report.
    const std::string text = m_report.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text << '\n';
    file.flush();
    if (!file) {
        std::cerr << "qxpreviewapp: cannot write the report " << path << '\n';
    }
}

}  // namespace previewapp
