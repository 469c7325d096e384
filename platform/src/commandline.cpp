#include "commandline.h"

#include <sys/stat.h>

#include <algorithm>
#include <cwctype>

#include "platform/machine.h"

namespace platform {
namespace {

bool IsBlank(wchar_t c) { return c == L' ' || c == L'\t'; }

bool EndsWithExe(const std::wstring& name)
{
    static const std::wstring kExe = L".exe";
    return name.size() >= kExe.size() &&
           std::equal(kExe.rbegin(), kExe.rend(), name.rbegin(),
                      [](wchar_t a, wchar_t b) { return std::towlower(a) == std::towlower(b); });
}

std::wstring WithDefaultExtension(std::wstring name)
{
    const std::size_t slash = name.find_last_of(L'\\');
    const std::size_t dot = name.find_last_of(L'.');
    if (dot == std::wstring::npos || (slash != std::wstring::npos && dot < slash)) {
        name += L".exe";
    }
    return name;
}

std::optional<std::string> ExistingFile(const std::wstring& windowsName)
{
    const auto host = HostPathOf(windowsName);
    struct stat status {};
    if (!host || ::stat(host->c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return host;
}

std::wstring_view SkipBlanks(std::wstring_view text)
{
    const std::size_t first = text.find_first_not_of(L" \t");
    return first == std::wstring_view::npos ? std::wstring_view() : text.substr(first);
}

// Copies the run of backslashes at `at` as a quote after it makes them count; returns the
// position after what was taken.
std::size_t TakeBackslashes(std::wstring_view text, std::size_t at, std::wstring& word)
{
    std::size_t end = at;
    while (end < text.size() && text[end] == L'\\') {
        ++end;
    }
    const std::size_t count = end - at;
    if (end < text.size() && text[end] == L'"') {
        word.append(count / 2, L'\\');
        if (count % 2 == 1) {
            word += L'"';
            return end + 1;
        }
        return end;  // the quote acts
    }
    word.append(count, L'\\');
    return end;
}

}  // namespace

std::vector<std::wstring> SplitArguments(std::wstring_view text)
{
    std::vector<std::wstring> words;
    std::wstring word;
    bool inWord = false;
    bool quoted = false;
    std::size_t at = 0;
    while (at < text.size()) {
        const wchar_t c = text[at];
        if (!quoted && IsBlank(c)) {
            if (inWord) {
                words.push_back(word);
                word.clear();
                inWord = false;
            }
            ++at;
            continue;
        }
        inWord = true;
        if (c == L'\\') {
            at = TakeBackslashes(text, at, word);
        } else if (c == L'"' && quoted && at + 1 < text.size() && text[at + 1] == L'"') {
            word += L'"';
            at += 2;
        } else if (c == L'"') {
            quoted = !quoted;
            ++at;
        } else {
            word += c;
            ++at;
        }
    }
    if (inWord) {
        words.push_back(word);
    }
    return words;
}

std::optional<std::string> HostProgramOf(const std::wstring& windowsName)
{
    if (auto found = ExistingFile(windowsName)) {
        return found;
    }
    return EndsWithExe(windowsName) ? ExistingFile(windowsName.substr(0, windowsName.size() - 4)) : std::nullopt;
}

std::wstring ArgumentsAfterProgramName(std::wstring_view commandLine)
{
    const std::wstring_view line = SkipBlanks(commandLine);
    const bool quoted = !line.empty() && line.front() == L'"';
    const std::size_t end = quoted ? line.find(L'"', 1) : line.find_first_of(L" \t");
    return end == std::wstring_view::npos ? L"" : std::wstring(line.substr(end + 1));
}

std::optional<ProgramAndArguments> FindProgram(std::wstring_view commandLine)
{
    const std::wstring_view line = SkipBlanks(commandLine);
    if (!line.empty() && line.front() == L'"') {
        const std::wstring program(line.substr(1, line.find(L'"', 1) - 1));
        const auto host = program.empty() ? std::nullopt : HostProgramOf(WithDefaultExtension(program));
        if (!host) {
            return std::nullopt;
        }
        return ProgramAndArguments{*host, ArgumentsAfterProgramName(line)};
    }
    for (std::size_t end = 0; end <= line.size(); ++end) {
        if (end < line.size() && !IsBlank(line[end])) {
            continue;
        }
        const std::wstring candidate(line.substr(0, end));
        if (candidate.empty()) {
            continue;
        }
        if (const auto host = HostProgramOf(WithDefaultExtension(candidate))) {
            return ProgramAndArguments{*host, std::wstring(line.substr(std::min(end + 1, line.size())))};
        }
    }
    return std::nullopt;
}

}  // namespace platform
