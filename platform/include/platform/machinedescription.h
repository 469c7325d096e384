// Machine description files: a simulated machine's users, printers, jobs and files in one JSON
// document, so that a run can be set up without code.
//
//   {
//     "computerName": "QXSTUDIO",                                   optional
//     "users": [{"name": "ana"}],
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
//       "comment", "location", "driverPath", "dataFile", "configFile", "helpFile",
//       "manufacturer", "oemUrl", "hardwareId": "text",             optional
//       "driverDate": "2024-05-17"                                  optional
//     }],
//     "jobs": [{"id": 12, "printer": "...", "document": "...", "user": "ana", "totalPages": 3,
//               "size": 1024}],                                     size optional
//     "files": {"C:\\path\\file": "text" or ["line", "line"]}      optional
//   }
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

struct MachineDescription {
    MachineContents contents;
    std::vector<MachineFile> files;
};

// Reads and checks the whole file. Throws MachineDescriptionError; changes nothing.
MachineDescription ReadMachineDescription(const std::string& path);

// Reads and checks the whole file, then writes its files under the machine root and makes the
// simulated machine what the file declares, in place of its printers, jobs and users. A refused
// file changes nothing; a file that cannot be written stops the load before the machine changes.
MachineDescription LoadMachineDescription(const std::string& path);

}  // namespace platform
