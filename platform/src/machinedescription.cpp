// Reading machine description files. The whole document is checked into a MachineDescription
// before anything is applied, so a refused file leaves the machine as it was.
#include "platform/machinedescription.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <set>

#include <nlohmann/json.hpp>

#include "platform/machine.h"
#include "platform/modulepaths.h"
#include "platform/text.h"
#include "machinefolders.h"
#include "simulatedmachinestate.h"

namespace platform {
namespace {

using Json = nlohmann::json;
namespace fs = std::filesystem;

// A JSON pointer (RFC 6901) to a place in the document.
class Pointer {
public:
    Pointer() = default;

    Pointer operator/(const std::string& key) const
    {
        std::string escaped;
        for (const char c : key) {
            escaped += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
        }
        return Pointer(text_ + "/" + escaped);
    }
    Pointer operator/(std::size_t index) const { return Pointer(text_ + "/" + std::to_string(index)); }

    std::string Text() const { return text_.empty() ? "(document)" : text_; }

private:
    explicit Pointer(std::string text) : text_(std::move(text)) {}
    std::string text_;
};

// Thrown while checking, and given the file's name on its way out.
struct Refusal {
    std::string place;
    std::string reason;
};

[[noreturn]] void Refuse(const Pointer& at, std::string reason) { throw Refusal{at.Text(), std::move(reason)}; }

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

// What a value is, for a message: the string "abc", the number 1.5, true, an array...
std::string Found(const Json& value)
{
    switch (value.type()) {
    case Json::value_t::null: return "null";
    case Json::value_t::object: return "an object";
    case Json::value_t::array: return "an array";
    case Json::value_t::string: return "the string " + value.dump();
    case Json::value_t::boolean: return value.dump();
    default: return "the number " + value.dump();
    }
}

[[noreturn]] void Unexpected(const Json& value, const Pointer& at, const std::string& expected)
{
    Refuse(at, "expected " + expected + ", found " + Found(value));
}

void Expect(bool met, const Json& value, const Pointer& at, const std::string& expected)
{
    if (!met) {
        Unexpected(value, at, expected);
    }
}

std::string JoinQuoted(std::initializer_list<const char*> names)
{
    std::string joined;
    for (const char* name : names) {
        joined += (joined.empty() ? "" : ", ") + Quoted(name);
    }
    return joined;
}

// An object whose field names are all among the known ones.
class Fields {
public:
    Fields(const Json& object, const Pointer& at, const std::string& what, std::initializer_list<const char*> known)
        : object_(object), at_(at)
    {
        Expect(object.is_object(), object, at, what + " (an object)");
        for (const auto& field : object.items()) {
            bool isKnown = false;
            for (const char* name : known) {
                isKnown = isKnown || field.key() == name;
            }
            if (!isKnown) {
                Refuse(at / field.key(), "unknown field in " + what + " (known fields: " + JoinQuoted(known) + ")");
            }
        }
    }

    const Json* Optional(const char* name) const
    {
        const auto found = object_.find(name);
        return found == object_.end() ? nullptr : &*found;
    }
    const Json& Required(const char* name) const
    {
        const Json* value = Optional(name);
        if (value == nullptr) {
            Refuse(At(name), "required field is missing");
        }
        return *value;
    }
    Pointer At(const char* name) const { return at_ / name; }

private:
    const Json& object_;
    Pointer at_;
};

std::string Utf8String(const Json& value, const Pointer& at, const std::string& expected = "a string")
{
    Expect(value.is_string(), value, at, expected);
    return value.get<std::string>();
}

std::wstring Text(const Json& value, const Pointer& at, const std::string& expected = "a string")
{
    return FromUtf8(Utf8String(value, at, expected));
}

std::wstring Name(const Json& value, const Pointer& at)
{
    std::wstring name = Text(value, at);
    if (name.empty()) {
        Refuse(at, "a name cannot be empty");
    }
    return name;
}

std::int64_t Integer(const Json& value, const Pointer& at, std::int64_t lowest, std::int64_t highest,
                     const std::string& expected = "")
{
    const std::string wanted = expected.empty()
                                   ? "an integer from " + std::to_string(lowest) + " to " + std::to_string(highest)
                                   : expected;
    Expect(value.is_number_integer(), value, at, wanted);
    const bool inRange = value.is_number_unsigned()
                             ? value.get<std::uint64_t>() <= static_cast<std::uint64_t>(highest) &&
                                   (lowest <= 0 || value.get<std::uint64_t>() >= static_cast<std::uint64_t>(lowest))
                             : value.get<std::int64_t>() >= lowest && value.get<std::int64_t>() <= highest;
    Expect(inRange, value, at, wanted);
    return value.is_number_unsigned() ? static_cast<std::int64_t>(value.get<std::uint64_t>())
                                      : value.get<std::int64_t>();
}

DWORD Dword(const Json& value, const Pointer& at, DWORD lowest = 0)
{
    return static_cast<DWORD>(Integer(value, at, lowest, 0xFFFFFFFFll));
}

bool Boolean(const Json& value, const Pointer& at, const std::string& expected = "true or false")
{
    Expect(value.is_boolean(), value, at, expected);
    return value.get<bool>();
}

std::wstring WindowsPath(const std::string& text, const Pointer& at)
{
    std::wstring path = FromUtf8(text);
    if (!HostPathOf(path)) {
        Refuse(at, Quoted(text) + " is not a Windows path with a drive or a share, like C:\\folder\\file");
    }
    return path;
}

// "3.0.7.1": four 16-bit parts, most significant first, as dwlDriverVersion packs them.
ULONGLONG DriverFileVersion(const Json& value, const Pointer& at)
{
    const std::string expected = "a version of four numbers from 0 to 65535, like \"3.0.7.1\"";
    const std::string text = Utf8String(value, at, expected);
    ULONGLONG version = 0;
    int parts = 0;
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t dot = std::min(text.find('.', start), text.size());
        const std::string part = text.substr(start, dot - start);
        const bool digits = !part.empty() && part.size() <= 5 &&
                            part.find_first_not_of("0123456789") == std::string::npos;
        if (!digits || std::stoul(part) > 0xFFFFu || ++parts > 4) {
            Unexpected(value, at, expected);
        }
        version = (version << 16) | std::stoul(part);
        start = dot + 1;
    }
    Expect(parts == 4, value, at, expected);
    return version;
}

// Days from 1970-01-01 in the proleptic Gregorian calendar.
std::int64_t DaysFromCivil(std::int64_t year, unsigned month, unsigned day)
{
    year -= month <= 2;
    const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
    const auto yearOfEra = static_cast<unsigned>(year - era * 400);
    const unsigned dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + static_cast<std::int64_t>(dayOfEra) - 719468;
}

// "2024-05-17" as a FILETIME: 100-nanosecond intervals since 1601-01-01.
FILETIME DriverDate(const Json& value, const Pointer& at)
{
    const std::string expected = "a date from 1601-01-01 on, like \"2024-05-17\"";
    const std::string text = Utf8String(value, at, expected);
    const bool shaped = text.size() == 10 && text[4] == '-' && text[7] == '-' &&
                        (text.substr(0, 4) + text.substr(5, 2) + text.substr(8, 2)).find_first_not_of("0123456789") ==
                            std::string::npos;
    Expect(shaped, value, at, expected);
    const int year = std::stoi(text.substr(0, 4));
    const unsigned month = static_cast<unsigned>(std::stoi(text.substr(5, 2)));
    const unsigned day = static_cast<unsigned>(std::stoi(text.substr(8, 2)));
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    static const unsigned kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool valid = year >= 1601 && month >= 1 && month <= 12 && day >= 1 &&
                       day <= kDays[month - 1] + (month == 2 && leap ? 1u : 0u);
    Expect(valid, value, at, expected);
    const auto days = static_cast<ULONGLONG>(DaysFromCivil(year, month, day) - DaysFromCivil(1601, 1, 1));
    const ULONGLONG ticks = days * 24ull * 60 * 60 * 10000000;
    return FILETIME{static_cast<DWORD>(ticks & 0xFFFFFFFFu), static_cast<DWORD>(ticks >> 32)};
}

// {"Name": {"type": "string" | "int32" | "bool", "value": ...}, ...}
std::map<std::wstring, DriverPropertyValue> DriverPropertyBag(const Json& bag, const Pointer& at)
{
    Expect(bag.is_object(), bag, at, "an object of named properties");
    std::map<std::wstring, DriverPropertyValue> values;
    for (const auto& property : bag.items()) {
        const Pointer here = at / property.key();
        if (property.key().empty()) {
            Refuse(here, "a property name cannot be empty");
        }
        const Fields fields(property.value(), here, "a driver property", {"type", "value"});
        const std::string type = Utf8String(fields.Required("type"), fields.At("type"));
        const Json& value = fields.Required("value");
        const std::wstring name = FromUtf8(property.key());
        if (type == "string") {
            values[name] = Text(value, fields.At("value"), "a string for type \"string\"");
        } else if (type == "int32") {
            values[name] = static_cast<LONG>(
                Integer(value, fields.At("value"), INT32_MIN, INT32_MAX,
                        "an integer from -2147483648 to 2147483647 for type \"int32\""));
        } else if (type == "bool") {
            values[name] = Boolean(value, fields.At("value"), "true or false for type \"bool\"");
        } else {
            Refuse(fields.At("type"), "unknown type " + Quoted(type) + " (known types: \"string\", \"int32\", \"bool\")");
        }
    }
    return values;
}

// {"\\Printer.Schema:Name": {"type": "BIDI_...", "value": ...}, ...}; values are kept as the text a
// bidi response carries.
std::map<std::wstring, BidiValue> BidiValues(const Json& bidi, const Pointer& at)
{
    Expect(bidi.is_object(), bidi, at, "an object of bidi schema names");
    std::map<std::wstring, BidiValue> values;
    for (const auto& entry : bidi.items()) {
        const Pointer here = at / entry.key();
        if (entry.key().rfind('\\', 0) != 0) {
            Refuse(here, "a bidi schema name starts with \\, like \\Printer.DeviceInfo:MachineWidth");
        }
        const Fields fields(entry.value(), here, "a bidi value", {"type", "value"});
        const std::string type = Utf8String(fields.Required("type"), fields.At("type"));
        const Json& value = fields.Required("value");
        const Pointer valueAt = fields.At("value");
        std::wstring text;
        if (type == "BIDI_INT") {
            text = std::to_wstring(Integer(value, valueAt, INT32_MIN, INT32_MAX,
                                           "an integer from -2147483648 to 2147483647 for type \"BIDI_INT\""));
        } else if (type == "BIDI_FLOAT") {
            Expect(value.is_number(), value, valueAt, "a number for type \"BIDI_FLOAT\"");
            text = FromUtf8(value.dump());
        } else if (type == "BIDI_BOOL") {
            text = Boolean(value, valueAt, "true or false for type \"BIDI_BOOL\"") ? L"true" : L"false";
        } else if (type == "BIDI_STRING" || type == "BIDI_TEXT" || type == "BIDI_ENUM" || type == "BIDI_BLOB") {
            text = Text(value, valueAt, "a string for type " + Quoted(type));
        } else {
            Refuse(fields.At("type"), "unknown type " + Quoted(type) +
                                          " (known types: \"BIDI_INT\", \"BIDI_FLOAT\", \"BIDI_BOOL\", "
                                          "\"BIDI_STRING\", \"BIDI_TEXT\", \"BIDI_ENUM\", \"BIDI_BLOB\")");
        }
        values[FromUtf8(entry.key())] = BidiValue{FromUtf8(type), text};
    }
    return values;
}

std::optional<std::wstring> TextIfGiven(const Fields& fields, const char* name)
{
    const Json* value = fields.Optional(name);
    return value == nullptr ? std::nullopt : std::optional<std::wstring>(Text(*value, fields.At(name)));
}

std::optional<LONG> OptionalInt32(const Fields& fields, const char* name)
{
    const Json* value = fields.Optional(name);
    if (value == nullptr) {
        return std::nullopt;
    }
    return static_cast<LONG>(Integer(*value, fields.At(name), INT32_MIN, INT32_MAX));
}

DWORD SourceNumber(const Fields& fields)
{
    const Json* number = fields.Optional("number");
    return number == nullptr ? 0 : Dword(*number, fields.At("number"), 1);
}

// {"number", "type", "installed", "installedType", "width", "length", "notReady", "mediaProtected",
//  "id", "name", "vendor", "comment"}, every field optional.
PaperSource PaperSourceOf(const Json& object, const Pointer& at)
{
    const Fields fields(object, at, "a paper source",
                        {"number", "type", "installed", "installedType", "width", "length", "notReady",
                         "mediaProtected", "id", "name", "vendor", "comment"});
    PaperSource source;
    source.number = SourceNumber(fields);
    source.type = TextIfGiven(fields, "type");
    source.installed = TextIfGiven(fields, "installed");
    if (const Json* type = fields.Optional("installedType")) {
        const std::string text = Utf8String(*type, fields.At("installedType"));
        if (text != "BIDI_ENUM" && text != "BIDI_STRING") {
            Unexpected(*type, fields.At("installedType"), "\"BIDI_ENUM\" or \"BIDI_STRING\"");
        }
        source.installedType = FromUtf8(text);
    }
    source.width = OptionalInt32(fields, "width");
    source.length = OptionalInt32(fields, "length");
    if (const Json* notReady = fields.Optional("notReady")) {
        source.notReady = Boolean(*notReady, fields.At("notReady"));
    }
    source.mediaProtected = OptionalInt32(fields, "mediaProtected");
    source.id = OptionalInt32(fields, "id");
    source.name = TextIfGiven(fields, "name");
    source.vendor = TextIfGiven(fields, "vendor");
    return source;
}

// {"defaultSource", "notReadyMask", "sources": [...], "comment"}, every field optional.
PaperSourceAnswer PaperSourceAnswerOf(const Json& object, const Pointer& at)
{
    const Fields fields(object, at, "a paper source answer", {"defaultSource", "notReadyMask", "sources", "comment"});
    PaperSourceAnswer answer;
    answer.defaultSource = OptionalInt32(fields, "defaultSource");
    answer.notReadyMask = OptionalInt32(fields, "notReadyMask");
    if (const Json* sources = fields.Optional("sources")) {
        Expect(sources->is_array(), *sources, fields.At("sources"), "an array of paper sources");
        for (std::size_t i = 0; i < sources->size(); ++i) {
            answer.sources.push_back(PaperSourceOf((*sources)[i], fields.At("sources") / i));
        }
    }
    return answer;
}

struct KoruText {
    const char* field;
    std::wstring KoruPaperSource::*member;
};

const KoruText kKoruTexts[] = {
    {"name", &KoruPaperSource::name},
    {"mediaId", &KoruPaperSource::mediaId},
    {"type", &KoruPaperSource::type},
    {"mediaUnits", &KoruPaperSource::mediaUnits},
    {"mediaSizeName", &KoruPaperSource::mediaSizeName},
    {"mediaWidth", &KoruPaperSource::mediaWidth},
    {"mediaLength", &KoruPaperSource::mediaLength},
    {"inputInstalled", &KoruPaperSource::inputInstalled},
    {"mediaType", &KoruPaperSource::mediaType},
    {"notReady", &KoruPaperSource::notReady},
};

// {"number", "comment" and one text per kKoruTexts field}, every field optional.
KoruPaperSource KoruPaperSourceOf(const Json& object, const Pointer& at)
{
    const Fields fields(object, at, "a KORU paper source",
                        {"number", "comment", "name", "mediaId", "type", "mediaUnits", "mediaSizeName", "mediaWidth",
                         "mediaLength", "inputInstalled", "mediaType", "notReady"});
    KoruPaperSource source;
    source.number = SourceNumber(fields);
    for (const KoruText& text : kKoruTexts) {
        source.*text.member = TextIfGiven(fields, text.field).value_or(L"");
    }
    return source;
}

template <class Item, class Read>
std::vector<Item> ArrayOf(const Json& items, const Pointer& at, const std::string& what, Read read)
{
    Expect(items.is_array(), items, at, "an array of " + what);
    std::vector<Item> result;
    for (std::size_t i = 0; i < items.size(); ++i) {
        result.push_back(read(items[i], at / i));
    }
    return result;
}

// "paperSources" is one answer given to every query; "paperSourceAnswers" are answers in turn.
std::vector<PaperSourceAnswer> PaperSourceAnswers(const Fields& fields)
{
    const Json* single = fields.Optional("paperSources");
    const Json* sequence = fields.Optional("paperSourceAnswers");
    if (single != nullptr && sequence != nullptr) {
        Refuse(fields.At("paperSourceAnswers"),
               "a printer declares either \"paperSources\" (one answer) or \"paperSourceAnswers\" (answers in turn)");
    }
    if (single != nullptr) {
        return {PaperSourceAnswerOf(*single, fields.At("paperSources"))};
    }
    if (sequence == nullptr) {
        return {};
    }
    std::vector<PaperSourceAnswer> answers = ArrayOf<PaperSourceAnswer>(
        *sequence, fields.At("paperSourceAnswers"), "paper source answers", PaperSourceAnswerOf);
    if (answers.empty()) {
        Refuse(fields.At("paperSourceAnswers"), "a sequence of answers needs at least one answer");
    }
    return answers;
}

// The printer's optional texts; the paths among them must be Windows paths.
struct OptionalText {
    const char* field;
    std::wstring PrinterDescription::*member;
    bool path;
};

const OptionalText kOptionalTexts[] = {
    {"comment", &PrinterDescription::comment, false},
    {"location", &PrinterDescription::location, false},
    {"driverPath", &PrinterDescription::driverPath, true},
    {"dataFile", &PrinterDescription::dataFile, true},
    {"configFile", &PrinterDescription::configFile, true},
    {"helpFile", &PrinterDescription::helpFile, true},
    {"manufacturer", &PrinterDescription::manufacturer, false},
    {"oemUrl", &PrinterDescription::oemUrl, false},
    {"hardwareId", &PrinterDescription::hardwareId, false},
};

PrinterDescription Printer(const Json& object, const Pointer& at)
{
    const Fields fields(object, at, "a printer",
                        {"name", "port", "driverName", "driverModelVersion", "driverFileVersion", "dependentFiles",
                         "driverPropertyBag", "bidi", "bidiReachable", "paperSources", "paperSourceAnswers",
                         "koruPaperSources", "comment", "location", "driverPath", "dataFile", "configFile", "helpFile",
                         "manufacturer", "oemUrl", "hardwareId", "driverDate"});
    PrinterDescription printer;
    printer.name = Name(fields.Required("name"), fields.At("name"));
    if (printer.name.find_first_of(L",\\") != std::wstring::npos) {
        Refuse(fields.At("name"), "a printer name cannot contain ',' or '\\'");
    }
    printer.port = Name(fields.Required("port"), fields.At("port"));
    printer.driverName = Name(fields.Required("driverName"), fields.At("driverName"));
    printer.driverModelVersion = static_cast<DWORD>(
        Integer(fields.Required("driverModelVersion"), fields.At("driverModelVersion"), 3, 4,
                "3 (a legacy XPS driver) or 4 (a version-4 driver)"));
    printer.driverFileVersion = DriverFileVersion(fields.Required("driverFileVersion"), fields.At("driverFileVersion"));
    if (const Json* files = fields.Optional("dependentFiles")) {
        const Pointer filesAt = fields.At("dependentFiles");
        Expect(files->is_array(), *files, filesAt, "an array of Windows paths");
        for (std::size_t i = 0; i < files->size(); ++i) {
            printer.dependentFiles.push_back(WindowsPath(Utf8String((*files)[i], filesAt / i), filesAt / i));
        }
    }
    if (const Json* bag = fields.Optional("driverPropertyBag")) {
        if (printer.driverModelVersion != 4) {
            Refuse(fields.At("driverPropertyBag"), "only a version-4 driver has a driver property bag");
        }
        printer.driverPropertyBag = DriverPropertyBag(*bag, fields.At("driverPropertyBag"));
    }
    if (const Json* bidi = fields.Optional("bidi")) {
        printer.bidiValues = BidiValues(*bidi, fields.At("bidi"));
    }
    if (const Json* reachable = fields.Optional("bidiReachable")) {
        printer.bidiReachable = Boolean(*reachable, fields.At("bidiReachable"));
    }
    printer.paperSourceAnswers = PaperSourceAnswers(fields);
    if (const Json* koru = fields.Optional("koruPaperSources")) {
        printer.koruPaperSources =
            ArrayOf<KoruPaperSource>(*koru, fields.At("koruPaperSources"), "KORU paper sources", KoruPaperSourceOf);
    }
    for (const OptionalText& text : kOptionalTexts) {
        if (const Json* value = fields.Optional(text.field)) {
            const std::string utf8 = Utf8String(*value, fields.At(text.field));
            printer.*text.member = text.path ? WindowsPath(utf8, fields.At(text.field)) : FromUtf8(utf8);
        }
    }
    if (const Json* date = fields.Optional("driverDate")) {
        printer.driverDate = DriverDate(*date, fields.At("driverDate"));
    }
    return printer;
}

// Where an earlier entry of the same name stands, if there is one.
template <class Items, class NameOf>
std::optional<std::size_t> Earlier(const Items& items, const std::wstring& name, NameOf nameOf)
{
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (SameName(nameOf(items[i]), name)) {
            return i;
        }
    }
    return std::nullopt;
}

template <class Each>
void ForEachIn(const Fields& top, const char* section, const std::string& what, Each each)
{
    const Json* items = top.Optional(section);
    if (items == nullptr) {
        return;
    }
    Expect(items->is_array(), *items, top.At(section), "an array of " + what);
    for (std::size_t i = 0; i < items->size(); ++i) {
        each((*items)[i], top.At(section) / i);
    }
}

// "00ff1a": pairs of hexadecimal digits.
std::vector<BYTE> HexBytes(const Json& value, const Pointer& at)
{
    const std::string expected = "pairs of hexadecimal digits for type \"REG_BINARY\", like \"00ff1a\"";
    const std::string text = Utf8String(value, at, expected);
    Expect(text.size() % 2 == 0 && text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos, value, at,
           expected);
    std::vector<BYTE> bytes;
    for (std::size_t i = 0; i < text.size(); i += 2) {
        bytes.push_back(static_cast<BYTE>(std::stoul(text.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

std::vector<std::wstring> Texts(const Json& value, const Pointer& at)
{
    Expect(value.is_array(), value, at, "an array of strings for type \"REG_MULTI_SZ\"");
    std::vector<std::wstring> texts;
    for (std::size_t i = 0; i < value.size(); ++i) {
        texts.push_back(Text(value[i], at / i));
    }
    return texts;
}

// {"type": "REG_SZ" | "REG_EXPAND_SZ" | "REG_DWORD" | "REG_MULTI_SZ" | "REG_BINARY", "value": ...}
RegistryData RegistryValueOf(const Json& object, const Pointer& at)
{
    const Fields fields(object, at, "a registry value", {"type", "value"});
    const std::string type = Utf8String(fields.Required("type"), fields.At("type"));
    const Json& value = fields.Required("value");
    const Pointer valueAt = fields.At("value");
    if (type == "REG_SZ" || type == "REG_EXPAND_SZ") {
        const std::wstring text = Text(value, valueAt, "a string for type " + Quoted(type));
        return type == "REG_SZ" ? RegistryData::String(text) : RegistryData::ExpandString(text);
    }
    if (type == "REG_DWORD") {
        return RegistryData::Dword(static_cast<DWORD>(
            Integer(value, valueAt, 0, 0xFFFFFFFFll, "an integer from 0 to 4294967295 for type \"REG_DWORD\"")));
    }
    if (type == "REG_MULTI_SZ") {
        return RegistryData::MultiString(Texts(value, valueAt));
    }
    if (type == "REG_BINARY") {
        return RegistryData::Binary(HexBytes(value, valueAt));
    }
    Refuse(fields.At("type"), "unknown type " + Quoted(type) +
                                  " (known types: \"REG_SZ\", \"REG_EXPAND_SZ\", \"REG_DWORD\", \"REG_MULTI_SZ\", "
                                  "\"REG_BINARY\")");
}

struct RegistryKeyName {
    RegistryHive hive;
    std::wstring path;
};

// "HKEY_LOCAL_MACHINE\SOFTWARE\QX" or "HKEY_USERS\<user>\Printers\Connections", the user a declared
// one or ".DEFAULT".
RegistryKeyName RegistryKeyNameOf(const std::string& name, const Pointer& at, const std::vector<UserDescription>& users)
{
    std::vector<std::wstring> parts{L""};
    for (const wchar_t c : FromUtf8(name)) {
        if (c == L'\\') {
            parts.emplace_back();
        } else {
            parts.back() += c;
        }
    }
    const bool machine = parts.front() == L"HKEY_LOCAL_MACHINE";
    const bool user = parts.front() == L"HKEY_USERS" && parts.size() >= 2;
    if (!machine && !user) {
        Refuse(at, "a registry key begins with HKEY_LOCAL_MACHINE\\ or HKEY_USERS\\<user>\\, like "
                   "HKEY_LOCAL_MACHINE\\SOFTWARE\\QX");
    }
    for (std::size_t i = 1; i < parts.size(); ++i) {
        if (parts[i].empty()) {
            Refuse(at, "a registry key name has no empty parts");
        }
    }
    RegistryKeyName key{RegistryHive::LocalMachine(), L""};
    std::size_t first = 1;
    if (user) {
        const auto declared = Earlier(users, parts[1], [](const UserDescription& u) { return u.name; });
        if (!declared && !SameName(parts[1], RegistryHive::DefaultUser().user)) {
            Refuse(at, "no user of that name is declared in /users");
        }
        key.hive = declared ? RegistryHive::UserOf(users[*declared].name) : RegistryHive::DefaultUser();
        first = 2;
    }
    for (std::size_t i = first; i < parts.size(); ++i) {
        key.path += (i == first ? L"" : L"\\") + parts[i];
    }
    return key;
}

// {"HKEY_...\\key": {"Value": {"type": ..., "value": ...}}}; a key without values exists all the same.
void RegistrySection(const Json& registry, const Pointer& at, MachineContents& contents)
{
    Expect(registry.is_object(), registry, at, "an object of registry keys");
    for (const auto& key : registry.items()) {
        const Pointer here = at / key.key();
        const RegistryKeyName name = RegistryKeyNameOf(key.key(), here, contents.users);
        Expect(key.value().is_object(), key.value(), here, "an object of named registry values");
        contents.registry.push_back(RegistryEntry{name.hive, name.path, L"", std::nullopt});
        for (const auto& value : key.value().items()) {
            contents.registry.push_back(
                RegistryEntry{name.hive, name.path, FromUtf8(value.key()), RegistryValueOf(value.value(), here / value.key())});
        }
    }
}

// {"NAME": "value", ...}
std::map<std::wstring, std::wstring> UserEnvironment(const Json& variables, const Pointer& at)
{
    Expect(variables.is_object(), variables, at, "an object of named texts");
    std::map<std::wstring, std::wstring> environment;
    for (const auto& variable : variables.items()) {
        const Pointer here = at / variable.key();
        if (variable.key().empty() || variable.key().find('=') != std::string::npos) {
            Refuse(here, "a variable name cannot be empty or contain '='");
        }
        environment[FromUtf8(variable.key())] = Text(variable.value(), here);
    }
    return environment;
}

MachineDescription Describe(const Json& document)
{
    const Fields top(document, Pointer(), "a machine description",
                     {"comment", "computerName", "users", "printers", "jobs", "files", "programs", "registry"});
    MachineDescription description;
    MachineContents& contents = description.contents;
    if (const Json* comment = top.Optional("comment")) {
        Utf8String(*comment, top.At("comment"));
    }
    if (const Json* name = top.Optional("computerName")) {
        contents.computerName = Name(*name, top.At("computerName"));
        if (contents.computerName.find(L'\\') != std::wstring::npos) {
            Refuse(top.At("computerName"), "a computer name cannot contain '\\'");
        }
    }
    const Pointer usersAt = top.At("users");
    ForEachIn(top, "users", "users", [&](const Json& object, const Pointer& at) {
        const Fields fields(object, at, "a user", {"name", "environment"});
        UserDescription user{Name(fields.Required("name"), fields.At("name"))};
        if (const Json* environment = fields.Optional("environment")) {
            user.environment = UserEnvironment(*environment, fields.At("environment"));
        }
        if (const auto earlier = Earlier(contents.users, user.name, [](const UserDescription& u) { return u.name; })) {
            Refuse(fields.At("name"), "the user name is already declared at " + (usersAt / *earlier).Text());
        }
        contents.users.push_back(user);
    });
    const Pointer printersAt = top.At("printers");
    ForEachIn(top, "printers", "printers", [&](const Json& object, const Pointer& at) {
        PrinterDescription printer = Printer(object, at);
        const auto nameOf = [](const PrinterDescription& p) { return p.name; };
        if (const auto earlier = Earlier(contents.printers, printer.name, nameOf)) {
            Refuse(at / "name", "the printer name is already declared at " + (printersAt / *earlier).Text());
        }
        contents.printers.push_back(std::move(printer));
    });
    const Pointer jobsAt = top.At("jobs");
    ForEachIn(top, "jobs", "jobs", [&](const Json& object, const Pointer& at) {
        const Fields fields(object, at, "a job", {"id", "printer", "document", "user", "totalPages", "size"});
        JobDescription job;
        job.id = Dword(fields.Required("id"), fields.At("id"), 1);
        for (std::size_t i = 0; i < contents.jobs.size(); ++i) {
            if (contents.jobs[i].id == job.id) {
                Refuse(fields.At("id"), "the job id is already used at " + (jobsAt / i).Text());
            }
        }
        const std::wstring printer = Text(fields.Required("printer"), fields.At("printer"));
        const auto printerAt = Earlier(contents.printers, printer, [](const PrinterDescription& p) { return p.name; });
        if (!printerAt) {
            Refuse(fields.At("printer"), "no printer of that name is declared in /printers");
        }
        job.printerName = contents.printers[*printerAt].name;
        job.document = Text(fields.Required("document"), fields.At("document"));
        const std::wstring user = Text(fields.Required("user"), fields.At("user"));
        const auto userAt = Earlier(contents.users, user, [](const UserDescription& u) { return u.name; });
        if (!userAt) {
            Refuse(fields.At("user"), "no user of that name is declared in /users");
        }
        job.userName = contents.users[*userAt].name;
        job.totalPages = Dword(fields.Required("totalPages"), fields.At("totalPages"));
        if (const Json* size = fields.Optional("size")) {
            job.size = Dword(*size, fields.At("size"));
        }
        contents.jobs.push_back(std::move(job));
    });
    if (const Json* registry = top.Optional("registry")) {
        RegistrySection(*registry, top.At("registry"), contents);
    }
    if (const Json* files = top.Optional("files")) {
        const Pointer filesAt = top.At("files");
        Expect(files->is_object(), *files, filesAt, "an object of Windows paths and their contents");
        for (const auto& file : files->items()) {
            const Pointer here = filesAt / file.key();
            MachineFile machineFile{WindowsPath(file.key(), here), {}};
            const std::string expected = "the file's text, as a string or an array of lines";
            if (file.value().is_array()) {
                for (std::size_t i = 0; i < file.value().size(); ++i) {
                    machineFile.content += Utf8String(file.value()[i], here / i, "a line of text") + "\n";
                }
            } else {
                machineFile.content = Utf8String(file.value(), here, expected);
            }
            description.files.push_back(std::move(machineFile));
        }
    }
    if (const Json* programs = top.Optional("programs")) {
        const Pointer programsAt = top.At("programs");
        Expect(programs->is_object(), *programs, programsAt, "an object of Windows paths and host program names");
        for (const auto& program : programs->items()) {
            const Pointer here = programsAt / program.key();
            const std::string name = Utf8String(program.value(), here, "the name of a program beside the platform");
            if (name.empty() || name.find('/') != std::string::npos) {
                Refuse(here, "a program name without a folder");
            }
            description.programs.push_back({WindowsPath(program.key(), here), name});
        }
    }
    return description;
}

// Objects with a name twice would silently keep the last; the parser's events catch them instead.
class DuplicateNameCheck {
public:
    bool operator()(int, Json::parse_event_t event, Json& parsed)
    {
        switch (event) {
        case Json::parse_event_t::object_start: frames_.push_back({false, 0, {}, {}}); break;
        case Json::parse_event_t::array_start: frames_.push_back({true, 0, {}, {}}); break;
        case Json::parse_event_t::key: {
            Frame& frame = frames_.back();
            frame.key = parsed.get<std::string>();
            if (!frame.keys.insert(frame.key).second) {
                Refuse(Current(), "the name appears twice in the same object");
            }
            break;
        }
        case Json::parse_event_t::object_end:
        case Json::parse_event_t::array_end:
            frames_.pop_back();
            Done();
            break;
        case Json::parse_event_t::value: Done(); break;
        }
        return true;
    }

private:
    struct Frame {
        bool array;
        std::size_t index;  // elements of an array read so far
        std::string key;    // the member being read in an object
        std::set<std::string> keys;
    };

    void Done()
    {
        if (!frames_.empty() && frames_.back().array) {
            ++frames_.back().index;
        }
    }

    Pointer Current() const
    {
        Pointer at;
        for (const Frame& frame : frames_) {
            at = frame.array ? at / frame.index : at / frame.key;
        }
        return at;
    }

    std::vector<Frame> frames_;
};

// nlohmann's message reads "[json.exception.parse_error.101] parse error at line 2, column 5: reason".
MachineDescriptionError SyntaxError(const std::string& path, const Json::parse_error& error)
{
    const std::string message = error.what();
    const std::size_t line = message.find("line ");
    const std::size_t colon = line == std::string::npos ? std::string::npos : message.find(": ", line);
    if (colon == std::string::npos) {
        const std::size_t bracket = message.find("] ");
        return MachineDescriptionError(path, "byte " + std::to_string(error.byte),
                                       bracket == std::string::npos ? message : message.substr(bracket + 2));
    }
    return MachineDescriptionError(path, message.substr(line, colon - line), message.substr(colon + 2));
}

std::string ReadWholeFile(const std::string& path)
{
    std::error_code ignored;
    if (fs::is_directory(path, ignored)) {
        throw MachineDescriptionError(path, "", "cannot read the file: it is a folder");
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw MachineDescriptionError(path, "", std::string("cannot read the file: ") + std::strerror(errno));
    }
    std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (file.bad()) {
        throw MachineDescriptionError(path, "", std::string("cannot read the file: ") + std::strerror(errno));
    }
    return text;
}

// The machine's files are there for every user, as those in C:\Windows are, whatever the umask.
constexpr fs::perms kSharedFile = fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read |
                                  fs::perms::others_read;

void WriteFiles(const std::string& path, const std::vector<MachineFile>& files)
{
    for (const MachineFile& file : files) {
        const std::string host = HostPathOf(file.windowsPath).value_or("");  // checked while reading
        const auto refuse = [&](const std::string& why) {
            throw MachineDescriptionError(path, (Pointer() / "files" / ToUtf8(file.windowsPath)).Text(),
                                          "cannot write " + host + ": " + why);
        };
        std::error_code error;
        CreateSharedFolders(fs::path(host).parent_path(), error);
        if (error) {
            refuse(error.message());
        }
        std::ofstream out(host, std::ios::binary | std::ios::trunc);
        out << file.content;
        out.close();
        if (!out) {
            refuse(std::strerror(errno));
        }
        fs::permissions(host, kSharedFile, error);
    }
}

// Each program is a link to the host program of that name in the module folder, so a run always
// starts the program its own build made.
void InstallPrograms(const std::string& path, const std::vector<MachineProgram>& programs)
{
    for (const MachineProgram& program : programs) {
        const std::string host = HostPathOf(program.windowsPath).value_or("");  // checked while reading
        const fs::path target = fs::path(ModuleFolder()) / program.hostProgram;
        const auto refuse = [&](const std::string& why) {
            throw MachineDescriptionError(path, (Pointer() / "programs" / ToUtf8(program.windowsPath)).Text(), why);
        };
        std::error_code error;
        if (!fs::is_regular_file(target, error)) {
            refuse("no program " + target.string());
        }
        CreateSharedFolders(fs::path(host).parent_path(), error);
        fs::remove(host, error);
        fs::create_symlink(target, host, error);
        if (error) {
            refuse("cannot link " + host + ": " + error.message());
        }
    }
}

}  // namespace

MachineDescriptionError::MachineDescriptionError(std::string file, std::string place, std::string reason)
    : std::runtime_error(file + ": " + (place.empty() ? "" : place + ": ") + reason),
      file_(std::move(file)),
      place_(std::move(place)),
      reason_(std::move(reason))
{
}

MachineDescription ReadMachineDescription(const std::string& path)
{
    const std::string text = ReadWholeFile(path);
    try {
        return Describe(Json::parse(text, DuplicateNameCheck()));
    } catch (const Json::parse_error& error) {
        throw SyntaxError(path, error);
    } catch (const Refusal& refusal) {
        throw MachineDescriptionError(path, refusal.place, refusal.reason);
    }
}

MachineDescription LoadMachineDescription(const std::string& path)
{
    MachineDescription description = ReadMachineDescription(path);
    WriteFiles(path, description.files);
    InstallPrograms(path, description.programs);
    SimulatedMachine::Replace(description.contents);
    return description;
}

}  // namespace platform
