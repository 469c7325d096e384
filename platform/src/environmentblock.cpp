// Environment blocks: a user's variables laid out as CreateProcessAsUserW takes them.
#include <algorithm>
#include <cwctype>
#include <mutex>
#include <set>

#include "names.h"
#include "platform/simulatedmachine.h"
#include "platform/systemapi.h"
#include "platform/text.h"
#include "userenvironment.h"

extern char** environ;

namespace platform {
namespace {

// The calling process's variables that test instructions travel in.
constexpr const char* kInheritedPrefixes[] = {"QX_", "QXPREVIEW_"};

bool IsInherited(const std::string& entry)
{
    return std::any_of(std::begin(kInheritedPrefixes), std::end(kInheritedPrefixes),
                       [&](const char* prefix) { return entry.rfind(prefix, 0) == 0; });
}

void AddInherited(EnvironmentVariables& variables)
{
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        const std::string text = *entry;
        const std::size_t equals = text.find('=');
        if (equals == std::string::npos || !IsInherited(text)) {
            continue;
        }
        const std::wstring name = FromUtf8(text.substr(0, equals));
        const bool known = std::any_of(variables.begin(), variables.end(),
                                       [&](const auto& variable) { return SameName(variable.first, name); });
        if (!known) {
            variables.emplace_back(name, FromUtf8(text.substr(equals + 1)));
        }
    }
}

std::wstring Upper(std::wstring text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](wchar_t c) { return std::towupper(c); });
    return text;
}

// Sorted by name without regard to case, as Windows keeps its blocks.
wchar_t* NewBlock(EnvironmentVariables variables)
{
    std::stable_sort(variables.begin(), variables.end(),
                     [](const auto& a, const auto& b) { return Upper(a.first) < Upper(b.first); });
    std::wstring block;
    for (const auto& [name, value] : variables) {
        block += name + L"=" + value;
        block += L'\0';
    }
    block += L'\0';
    auto* memory = new wchar_t[block.size()];
    std::copy(block.begin(), block.end(), memory);
    return memory;
}

struct LiveBlocks {
    std::mutex mutex;
    std::set<void*> blocks;
};

LiveBlocks& Blocks()
{
    static auto* blocks = new LiveBlocks;
    return *blocks;
}

}  // namespace

BOOL UserEnv::CreateEnvironmentBlock(LPVOID* environment, HANDLE token, BOOL inherit)
{
    if (environment == nullptr) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    std::optional<std::wstring> user;
    if (token != nullptr) {
        user = SimulatedMachine::UserOfToken(token);
        if (!user) {
            ::SetLastError(ERROR_INVALID_HANDLE);
            return FALSE;
        }
    }
    EnvironmentVariables variables = EnvironmentOf(user);
    if (inherit != FALSE) {
        AddInherited(variables);
    }
    wchar_t* block = NewBlock(std::move(variables));
    {
        LiveBlocks& live = Blocks();
        std::lock_guard lock(live.mutex);
        live.blocks.insert(block);
    }
    *environment = block;
    return TRUE;
}

BOOL UserEnv::DestroyEnvironmentBlock(LPVOID environment)
{
    LiveBlocks& live = Blocks();
    std::lock_guard lock(live.mutex);
    if (live.blocks.erase(environment) == 0) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    delete[] static_cast<wchar_t*>(environment);
    return TRUE;
}

}  // namespace platform
