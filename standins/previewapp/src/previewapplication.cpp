#include "previewapplication.h"

#include <cstdlib>
#include <iostream>

#include "channellibrary.h"
#include "hostprocess.h"
#include "previewconversation.h"
#include "previewfailure.h"
#include "previewinbox.h"
#include "resultpayloads.h"
#include "terminaldialog.h"
#include "utf16text.h"

namespace previewapp {

int PreviewApplication::Run() const
{
    PreviewReport report(m_arguments, m_script.Mode());
    int exitCode = kExitPrint;
    try {
        exitCode = Converse(report);
    } catch (const PreviewFailure& failure) {
        std::cerr << "qxpreviewapp: " << failure.what() << '\n';
        report.SetError(failure.what());
        exitCode = failure.Code();
    }
    // Also after a failure: what did arrive tells where the conversation stopped.
    report.SetJob(PreviewInbox::Instance().Received());
    report.SetExitCode(exitCode);
    report.Write(m_script.ReportPath());
    return exitCode;
}

int PreviewApplication::Converse(PreviewReport& report) const
{
    const ChannelLibrary channel(m_arguments.channelLibrary);
    const SettingsCodec codec(m_arguments.encodingLibrary);
    const PreviewConversation conversation(channel, m_arguments);
    conversation.ReceiveJob(m_script.Timeout());

    const ReceivedJob job = PreviewInbox::Instance().Received();
    const std::optional<MorvikSettingsRecord> settings =
        codec.Decode(NarrowField(job.data.encodedSettings, sizeof(job.data.encodedSettings)));
    report.SetSettings(settings);

    const Verdict verdict = Decide(job, settings, codec, report);
    if (verdict.result.has_value()) {
        const std::int32_t status = conversation.SendResult(*verdict.result);
        report.SetResult(*verdict.result, status);
        if (status != 0) {
            std::cerr << "qxpreviewapp: the result did not reach the filter (status " << status << ")\n";
        }
    }
    return verdict.exitCode;
}

PreviewApplication::Verdict PreviewApplication::Decide(const ReceivedJob& job,
                                                       const std::optional<MorvikSettingsRecord>& settings,
                                                       const SettingsCodec& codec, PreviewReport& report) const
{
    if (m_script.Mode() != PreviewMode::Interactive) {
        if (m_script.Mode() == PreviewMode::Change) {
            WarnOfIgnoredScaling(settings);
        }
        return VerdictOf(m_script.Mode(), m_script.Changes(), job, codec, report);
    }
    const TerminalDialog dialog(std::cin, std::cout);
    dialog.ShowJob(job, settings);
    const DialogDecision decision = dialog.Ask(settings);
    report.SetDecision(decision.mode);
    return VerdictOf(decision.mode, decision.changes, job, codec, report);
}

PreviewApplication::Verdict PreviewApplication::VerdictOf(PreviewMode mode, const SettingsChanges& changes,
                                                          const ReceivedJob& job, const SettingsCodec& codec,
                                                          PreviewReport& report) const
{
    switch (mode) {
    case PreviewMode::Accept:
        return {ResultBytes(UnchangedResult(job.data)), kExitPrint};
    case PreviewMode::Change:
        return {ResultBytes(ChangedResult(job.data, changes, codec)), kExitPrint};
    case PreviewMode::Cancel:
        return {std::nullopt, kExitCancel};
    case PreviewMode::Exit:
        return {std::nullopt, m_script.ExitCode()};
    case PreviewMode::Crash:
        Crash(job, report);
    case PreviewMode::Garbage:
        return {RandomResultBytes(), kExitPrint};
    case PreviewMode::Short:
        return {ShortResultBytes(job.data), kExitPrint};
    case PreviewMode::Silent:
    case PreviewMode::Interactive:
        break;
    }
    return {std::nullopt, kExitPrint};
}

// A script that sets scaling values the filter will not read is told so, and what it lacks.
void PreviewApplication::WarnOfIgnoredScaling(const std::optional<MorvikSettingsRecord>& settings) const
{
    const std::optional<std::int32_t> jobMode =
        settings ? std::optional<std::int32_t>(settings->fields[kMorvikScalingMode]) : std::nullopt;
    for (const std::string& variable : m_script.Changes().IgnoredScalingVariables(jobMode)) {
        std::cerr << "qxpreviewapp: " << variable
                  << " is ignored: the filter reads it only with a scaling mode of 1, 2 or 3; set "
                     "QXPREVIEW_SCALING_MODE\n";
    }
}

void PreviewApplication::Crash(const ReceivedJob& job, PreviewReport& report) const
{
    report.SetJob(job);
    report.SetSignal("SIGABRT");
    report.Write(m_script.ReportPath());
    std::cerr << "qxpreviewapp: aborting as scripted\n";
    AbortQuietly();
}

}  // namespace previewapp
