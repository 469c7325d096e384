// The driver's encoding library, which turns the job's settings record into the short text the
// preview application shows and changes, and the changed text back into a record.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "morvikrecord.h"
#include "ptsettings.h"

class ScopedLibrary;

class MorvikManager {
public:
    using EncodeFunction = std::int32_t (*)(MorvikSettingsRecord record, char* output);
    using DecodeFunction = MorvikSettingsRecord (*)(const char* text, std::uint8_t* success);

    struct Exports {
        EncodeFunction encode = nullptr;
        DecodeFunction decode = nullptr;
    };

    // The output buffer the library writes its zero-terminated text into.
    static constexpr std::size_t kEncodedCharacters = 512;

    // Throws std::runtime_error "Morvik not loaded" when the library cannot be loaded. A missing
    // export is not an error here: encoding through it gives no text, decoding fails.
    explicit MorvikManager(const std::wstring& libraryPath);
    // Over exports some other owner keeps loaded (the tests' doubles).
    explicit MorvikManager(const Exports& exports);
    ~MorvikManager();

    // Writes every field the record carries from the settings; the others stay unset.
    void Fill(PTSettings& settings);
    // The library's text for the record, up to its first zero byte.
    std::string Encode() const;
    // On success writes the decoded input bin, job rotation, output colour and scaling mode into
    // the settings, in that order; false (settings untouched) for text the library refuses.
    bool Decode(PTSettings& settings, const std::string& text) const;
    // Frees the library; encoding and decoding fail from here on.
    void Unload();

    const MorvikSettingsRecord& Record() const { return m_record; }

    MorvikManager(const MorvikManager&) = delete;
    MorvikManager& operator=(const MorvikManager&) = delete;

private:
    std::unique_ptr<ScopedLibrary> m_library;
    Exports m_exports;
    MorvikSettingsRecord m_record;
};

// The encoding library from beside the filter module.
std::unique_ptr<MorvikManager> LoadMorvikBesideModule();
