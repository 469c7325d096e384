// Machine description files: a simulated machine's users, printers, jobs, registry and files in
// one JSON document, so that a run can be set up without code.
//
//   {
//     "computerName": "QXSTUDIO",                                   optional
//     "users": [{"name": "ana",
//                "environment": {"NAME": "value"}}],                   optional, besides the profile's
//     "printers": [{
//       "name": "...", "port": "...", "driverName": "...",
//       "driverModelVersion": 4,                                    3 or 4
//       "driverFileVersion": "3.0.7.1",
//       "dependentFiles": ["C:\\...\\file.ldpb"],                   optional, Windows paths
//       "driverPropertyBag": {"Name": {"type": "string", "value": "text"}},
//                                           optional, version 4 only; types string, int32, bool
//       "bidi": {"\\Printer.DeviceInfo:MachineWidth": {"type": "BIDI_STRING", "value": "..."}},
//                                           optional; BIDI_INT, BIDI_FLOAT, BIDI_BOOL, BIDI_STRING,
//                                           BIDI_TEXT, BIDI_ENUM, BIDI_BLOB
//       "bidiReachable": true,                                      optional, default true
//       "paperSources": ANSWER,             optional; the one answer to every paper source query
//       "paperSourceAnswers": [ANSWER, ...], optional, instead; answers in turn, the last repeating
//       "koruPaperSources": [{"number": 1, "name": "Roll 1", "mediaId": "1", "type": "continuousRoll",
//           "mediaUnits": "millimeters", "mediaSizeName": "", "mediaWidth": "1117.6",
//           "mediaLength": "45720", "inputInstalled": "installed", "mediaType": "Plain Paper",
//           "notReady": "false", "comment": "..."}],                 optional; every field optional,
//                                           texts as the KORU description carries them, number
//                                           defaulting to the place in the list
//       "comment", "location", "driverPath", "dataFile", "configFile", "helpFile",
//       "manufacturer", "oemUrl", "hardwareId": "text",             optional
//       "driverDate": "2024-05-17"                                  optional
//     }],
//     "jobs": [{"id": 12, "printer": "...", "document": "...", "user": "ana", "totalPages": 3,
//               "size": 1024}],                                     size optional
//     "registry": {                                                 optional
//       "HKEY_LOCAL_MACHINE\\SOFTWARE\\QX\\QX Print Preview2": {
//         "PPExecPath": {"type": "REG_SZ", "value": "C:\\Program Files\\QX\\"}},
//       "HKEY_USERS\\ana\\Printers\\Connections\\,,srv,plotter": {
//         "GuidPrinter": {"type": "REG_SZ", "value": "{...}"}}
//     },                                    a key (with its values; {} for none) under
//                                           HKEY_LOCAL_MACHINE or a declared user's HKEY_CURRENT_USER
//                                           (HKEY_USERS\<user>, or HKEY_USERS\.DEFAULT); value types
//                                           REG_SZ and REG_EXPAND_SZ (a string), REG_DWORD (0 to
//                                           4294967295), REG_MULTI_SZ (an array of strings),
//                                           REG_BINARY (hexadecimal digit pairs, "00ff1a"); "" names
//                                           the key's default value
//     "files": {"C:\\path\\file": "text" or ["line", "line"]}      optional
//     "programs": {"C:\\path\\Program.exe": "hostprogram"}        optional; installs the host
//                                           program of that name from the module folder (see
//                                           modulepaths.h) at the Windows path, as a link
//   }
//
// ANSWER, one answer to "\Printer.PaperSource", every field optional:
//   {"defaultSource": 2, "notReadyMask": 0, "comment": "...",
//    "sources": [{"number": 1,                      default: the place in the list, from 1
//                 "type": "continuousRoll", "installed": "installed",
//                 "installedType": "BIDI_ENUM",     or "BIDI_STRING"; default "BIDI_ENUM"
//                 "width": 31680, "length": 1296000, "notReady": false, "mediaProtected": 0, "id": 1,
//                 "name": "Roll 1", "vendor": "QX Inc", "comment": "..."}]}
//   Widths and lengths are in 1/720 inch. Each field given becomes one bidi entry of the answer.
//
// Every section is optional. A field the format does not know, a value of the wrong type, a
// duplicate name or a reference to an undeclared printer or user refuses the whole file.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "simulatedmachine.h"

namespace platform {

// Why a file was refused, as one line "FILE: PLACE: REASON". The place is a JSON pointer into the
// document ("/printers/1/driverPropertyBag/CanDoCopies/value"), "line L, column C" for a syntax
// error, or absent when the file cannot be read at all.
class MachineDescriptionError : public std::runtime_error {
public:
    MachineDescriptionError(std::string file, std::string place, std::string reason);

    const std::string& File() const { return file_; }
    const std::string& Place() const { return place_; }
    const std::string& Reason() const { return reason_; }

private:
    std::string file_;
    std::string place_;
    std::string reason_;
};

// A file to create under the machine root; the content is written as given, UTF-8.
struct MachineFile {
    std::wstring windowsPath;
    std::string content;
};

// A program of the build installed on the machine.
struct MachineProgram {
    std::wstring windowsPath;
    std::string hostProgram;  // a file name in the module folder
};

struct MachineDescription {
    MachineContents contents;
    std::vector<MachineFile> files;
    std::vector<MachineProgram> programs;
};

// Reads and checks the whole file. Throws MachineDescriptionError; changes nothing.
MachineDescription ReadMachineDescription(const std::string& path);

// Reads and checks the whole file, then writes its files under the machine root and makes the
// simulated machine what the file declares, in place of its printers, jobs and users. A refused
// file changes nothing; a file that cannot be written stops the load before the machine changes.
MachineDescription LoadMachineDescription(const std::string& path);

}  // namespace platform
