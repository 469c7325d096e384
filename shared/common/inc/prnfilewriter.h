// The preview's copy of the job: a file in the job user's own temporary folder, which the preview
// application (running as that user) opens and which is deleted when the application is done.
#pragma once

#include <string>

#include <filterpipeline.h>
#include <xpsobjectmodel.h>

class PrnFileWriter {
public:
    // The longest folder text the name buffer takes (MAX_PATH with its terminator).
    static constexpr std::size_t kMaxFolderCharacters = 259;

    // The impersonated user's local application data folder followed by "\Temp"; empty when the
    // user has none, or when the folder does not fit the name buffer (logged: a cut folder would
    // name some other place).
    static std::wstring GetLocalTempFolder();
    // A new empty file "QX_<hex>.TMP" made by the system in the folder; empty on failure.
    static std::wstring MakeTempFileName(const std::wstring& folder);

    // The package as written by the object model, read-only.
    static bool TempFileProcessing(const std::wstring& fileName, IXpsOMPackage* package);
    // The stream's bytes from its current position to its end. Write errors are logged and
    // skipped: a preview of a damaged copy is still better than no preview.
    static bool TempFileProcessing(const std::wstring& fileName, IPrintReadStream* stream);

    // Deletes the file even when it is read-only, as the package copy is; a file already gone is
    // fine.
    static void Delete(const std::wstring& fileName);
};
