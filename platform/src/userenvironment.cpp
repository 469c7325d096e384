#include "userenvironment.h"

#include <utility>
#include <vector>

#include "names.h"

namespace platform {
namespace {

using Variables = std::vector<std::pair<std::wstring, std::wstring>>;

Variables VariablesOf(const std::optional<std::wstring>& user)
{
    Variables variables{
        {L"SystemDrive", L"C:"},
        {L"SystemRoot", L"C:\\Windows"},
        {L"windir", L"C:\\Windows"},
        {L"ProgramFiles", L"C:\\Program Files"},
        {L"ProgramData", L"C:\\ProgramData"},
    };
    if (user) {
        const std::wstring profile = L"C:\\Users\\" + *user;
        variables.insert(variables.end(), {
                                              {L"USERNAME", *user},
                                              {L"USERPROFILE", profile},
                                              {L"APPDATA", profile + L"\\AppData\\Roaming"},
                                              {L"LOCALAPPDATA", profile + L"\\AppData\\Local"},
                                              {L"TEMP", profile + L"\\AppData\\Local\\Temp"},
                                              {L"TMP", profile + L"\\AppData\\Local\\Temp"},
                                          });
    }
    return variables;
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

std::wstring ExpandEnvironmentFor(const std::wstring& text, const std::optional<std::wstring>& user)
{
    const Variables variables = VariablesOf(user);
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
