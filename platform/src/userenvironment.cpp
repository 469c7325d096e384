#include "userenvironment.h"

#include <utility>
#include <vector>

#include "names.h"
#include "platform/simulatedmachine.h"

namespace platform {
namespace {

using Variables = EnvironmentVariables;

Variables MachineVariables()
{
    return {
        {L"SystemDrive", L"C:"},
        {L"SystemRoot", L"C:\\Windows"},
        {L"windir", L"C:\\Windows"},
        {L"ProgramFiles", L"C:\\Program Files"},
        {L"ProgramData", L"C:\\ProgramData"},
        {L"COMPUTERNAME", SimulatedMachine::ComputerName()},
        {L"OS", L"Windows_NT"},
        {L"PATH", L"C:\\Windows\\system32;C:\\Windows;C:\\Windows\\System32\\Wbem"},
        {L"PATHEXT", L".COM;.EXE;.BAT;.CMD"},
    };
}

Variables ProfileVariables(const std::wstring& user)
{
    const std::wstring profile = L"C:\\Users\\" + user;
    return {
        {L"USERNAME", user},
        {L"USERPROFILE", profile},
        {L"HOMEDRIVE", L"C:"},
        {L"HOMEPATH", L"\\Users\\" + user},
        {L"APPDATA", profile + L"\\AppData\\Roaming"},
        {L"LOCALAPPDATA", profile + L"\\AppData\\Local"},
        {L"TEMP", profile + L"\\AppData\\Local\\Temp"},
        {L"TMP", profile + L"\\AppData\\Local\\Temp"},
    };
}

void Assign(Variables& variables, const std::wstring& name, const std::wstring& value)
{
    for (auto& [known, old] : variables) {
        if (SameName(known, name)) {
            old = value;
            return;
        }
    }
    variables.emplace_back(name, value);
}

const std::wstring* ValueOf(const Variables& variables, const std::wstring& name)
{
    for (const auto& [known, value] : variables) {
        if (SameName(known, name)) {
            return &value;
        }
    }
    return nullptr;
}

}  // namespace

EnvironmentVariables EnvironmentOf(const std::optional<std::wstring>& user)
{
    Variables variables = MachineVariables();
    const auto described = user ? SimulatedMachine::FindUser(*user) : std::nullopt;
    if (user) {
        for (const auto& [name, value] : ProfileVariables(described ? described->name : *user)) {
            Assign(variables, name, value);
        }
    }
    if (described) {
        for (const auto& [name, value] : described->environment) {
            Assign(variables, name, value);
        }
    }
    return variables;
}

std::wstring ExpandEnvironmentFor(const std::wstring& text, const std::optional<std::wstring>& user)
{
    const Variables variables = EnvironmentOf(user);
    std::wstring expanded;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t open = text.find(L'%', at);
        const std::size_t close = open == std::wstring::npos ? std::wstring::npos : text.find(L'%', open + 1);
        if (close == std::wstring::npos) {
            break;
        }
        expanded += text.substr(at, open - at);
        const std::wstring* value = ValueOf(variables, text.substr(open + 1, close - open - 1));
        if (value != nullptr) {
            expanded += *value;
            at = close + 1;
        } else {
            expanded += L'%';  // the closing % may open the next name
            at = open + 1;
        }
    }
    return expanded + text.substr(at);
}

}  // namespace platform
