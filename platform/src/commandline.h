// How a Windows command line names its program and splits into arguments.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

// The arguments of a command line by the C runtime's rules (as CommandLineToArgvW reads the words
// after the program): blanks and tabs separate outside quotes; a quote toggles quoting; inside
// quotes "" is a literal quote; 2n backslashes before a quote give n backslashes and the quote
// acts, 2n+1 give n and a literal quote; other backslashes are literal.
std::vector<std::wstring> SplitArguments(std::wstring_view text);

// The host file of a Windows program name: the name itself, or for "x.exe" also the host file "x";
// nothing when neither is an existing file of the machine.
std::optional<std::string> HostProgramOf(const std::wstring& windowsName);

// The command line after its first token, the program's name as written: up to the closing quote
// when it starts with one, else up to the first blank.
std::wstring ArgumentsAfterProgramName(std::wstring_view commandLine);

struct ProgramAndArguments {
    std::string hostProgram;
    std::wstring arguments;  // the command line after the program, unsplit
};

// The program a command line starts with, found as Windows finds it: a quoted first token is the
// program; an unquoted one is searched among the prefixes that end before a blank, left to right,
// and the whole line last, ".exe" added to a name without an extension. Nothing when no
// candidate is a file.
std::optional<ProgramAndArguments> FindProgram(std::wstring_view commandLine);

}  // namespace platform
