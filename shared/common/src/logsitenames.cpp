// Log sites name themselves the way the Windows compiler does, so that a record reads the same
// whichever compiler built the module: "UnknownBase<struct IClassFactory>::QueryInterface" in the
// function field, "unknownbase" in the file field. g++ gives the full declaration instead
// ("HRESULT UnknownBase<T>::QueryInterface(REFIID, void**) [with T = IClassFactory; ...]"), so
// the name is cut out of it and its template parameters are filled in.
#include <cstdarg>
#include <cstring>
#include <cwchar>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "qxdrvlogger.h"
#include "textconversion.h"

namespace {

bool IsIdentifierChar(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80;
}

bool Opens(char c) { return c == '<' || c == '(' || c == '[' || c == '{'; }
bool Closes(char c) { return c == '>' || c == ')' || c == ']' || c == '}'; }

std::string_view Trim(std::string_view text)
{
    while (!text.empty() && text.front() == ' ') {
        text.remove_prefix(1);
    }
    while (!text.empty() && text.back() == ' ') {
        text.remove_suffix(1);
    }
    return text;
}

bool StartsWith(std::string_view text, std::string_view prefix) { return text.substr(0, prefix.size()) == prefix; }

// Pieces of text separated by the separator outside any brackets.
std::vector<std::string_view> SplitTopLevel(std::string_view text, std::string_view separator)
{
    std::vector<std::string_view> parts;
    int depth = 0;
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (Opens(text[i])) {
            ++depth;
        } else if (Closes(text[i]) && depth > 0) {
            --depth;
        } else if (depth == 0 && text.compare(i, separator.size(), separator) == 0) {
            parts.push_back(text.substr(start, i - start));
            i += separator.size() - 1;
            start = i + 1;
        }
    }
    parts.push_back(text.substr(start));
    return parts;
}

// One "[with ...]" entry. A non-type parameter ("int N = 5") is written as its value; a type
// parameter is written as the Windows compiler spells the type.
struct Binding {
    std::string name;
    std::string value;
    bool isType = true;
};

std::vector<Binding> ParseBindings(std::string_view list)
{
    std::vector<Binding> bindings;
    for (const std::string_view entry : SplitTopLevel(list, ";")) {
        const std::size_t equals = entry.find(" = ");
        if (equals == std::string_view::npos) {
            continue;
        }
        const std::string_view left = Trim(entry.substr(0, equals));
        const std::size_t space = left.rfind(' ');
        Binding binding;
        binding.name = std::string(space == std::string_view::npos ? left : left.substr(space + 1));
        binding.value = std::string(Trim(entry.substr(equals + 3)));
        binding.isType = space == std::string_view::npos;
        bindings.push_back(std::move(binding));
    }
    return bindings;
}

const Binding* FindBinding(const std::vector<Binding>& bindings, std::string_view name)
{
    for (const Binding& binding : bindings) {
        if (binding.name == name) {
            return &binding;
        }
    }
    return nullptr;
}

std::string SubstituteIdentifiers(std::string_view text, const std::vector<Binding>& bindings)
{
    std::string out;
    for (std::size_t i = 0; i < text.size();) {
        if (!IsIdentifierChar(text[i])) {
            out += text[i++];
            continue;
        }
        std::size_t end = i;
        while (end < text.size() && IsIdentifierChar(text[end])) {
            ++end;
        }
        const std::string_view word = text.substr(i, end - i);
        const bool qualified = i >= 2 && text.compare(i - 2, 2, "::") == 0;
        const Binding* binding = qualified ? nullptr : FindBinding(bindings, word);
        out += binding != nullptr ? std::string_view(binding->value) : word;
        i = end;
    }
    return out;
}

std::string DecorateName(std::string_view name);

// The code base names its enumerations E + a capital (EInputBin, ECutter); the Windows compiler
// writes them "enum EInputBin" where a class would read "struct Name".
bool IsEnumerationName(std::string_view name)
{
    return name.size() >= 2 && name[0] == 'E' && name[1] >= 'A' && name[1] <= 'Z';
}

// g++ spells builtin types in its own word order; these are the Windows compiler's spellings. Every
// other type is a class as far as a log reader cares, and the Windows compiler prefixes it.
std::string DecorateType(std::string_view type)
{
    static const struct {
        const char* gnu;
        const char* windows;
    } builtins[] = {
        {"bool", "bool"},
        {"char", "char"},
        {"signed char", "signed char"},
        {"unsigned char", "unsigned char"},
        {"wchar_t", "wchar_t"},
        {"char8_t", "char8_t"},
        {"char16_t", "char16_t"},
        {"char32_t", "char32_t"},
        {"short int", "short"},
        {"short unsigned int", "unsigned short"},
        {"int", "int"},
        {"unsigned int", "unsigned int"},
        {"unsigned", "unsigned int"},
        {"long int", "long"},
        {"long unsigned int", "unsigned long"},
        {"long long int", "__int64"},
        {"long long unsigned int", "unsigned __int64"},
        {"float", "float"},
        {"double", "double"},
        {"long double", "long double"},
        {"void", "void"},
        {"std::nullptr_t", "std::nullptr_t"},
    };
    type = Trim(type);
    if (type.empty() || (type[0] >= '0' && type[0] <= '9') || type[0] == '-' || type[0] == '(' || type == "true" ||
        type == "false") {
        return std::string(type);
    }
    std::string qualifiers;
    for (bool more = true; more;) {
        more = false;
        for (const std::string_view qualifier : {std::string_view("const "), std::string_view("volatile ")}) {
            if (StartsWith(type, qualifier)) {
                qualifiers += qualifier;
                type = Trim(type.substr(qualifier.size()));
                more = true;
            }
        }
    }
    // The declarator part (pointers, references, arrays, function parameters) follows the base type.
    std::size_t baseEnd = 0;
    for (int depth = 0; baseEnd < type.size(); ++baseEnd) {
        const char c = type[baseEnd];
        if (depth == 0 && (c == '*' || c == '&' || c == '(' || c == '[')) {
            break;
        }
        if (c == '<') {
            ++depth;
        } else if (c == '>' && depth > 0) {
            --depth;
        }
    }
    const std::string_view base = Trim(type.substr(0, baseEnd));
    const std::string_view declarator = Trim(type.substr(baseEnd));
    std::string out = qualifiers;
    bool builtin = false;
    for (const auto& entry : builtins) {
        if (base == entry.gnu) {
            out += entry.windows;
            builtin = true;
            break;
        }
    }
    if (!builtin) {
        out += IsEnumerationName(base) ? "enum " : "struct ";
        out += DecorateName(base);
    }
    if (!declarator.empty()) {
        out += ' ';
        out += declarator;
    }
    return out;
}

// "Name<args>" with each argument spelled out; parameters come from the bindings.
std::string DecorateTemplateSegment(std::string_view segment, const std::vector<Binding>& bindings)
{
    const std::size_t open = segment.find('<');
    if (open == std::string_view::npos || open == 0 || segment.back() != '>') {
        return std::string(segment);
    }
    std::string out(segment.substr(0, open + 1));
    const std::string_view arguments = segment.substr(open + 1, segment.size() - open - 2);
    bool first = true;
    for (const std::string_view argument : SplitTopLevel(arguments, ",")) {
        if (!first) {
            out += ',';
        }
        first = false;
        const std::string_view trimmed = Trim(argument);
        const Binding* binding = FindBinding(bindings, trimmed);
        if (binding != nullptr && !binding->isType) {
            out += binding->value;
        } else if (binding != nullptr) {
            out += DecorateType(binding->value);
        } else {
            out += DecorateType(SubstituteIdentifiers(trimmed, bindings));
        }
    }
    if (out.back() == '>') {
        out += ' ';  // "<struct A<int> >", as the Windows compiler closes nested lists
    }
    out += '>';
    return out;
}

std::string DecorateSegments(std::string_view name, const std::vector<Binding>& bindings)
{
    const std::vector<std::string_view> segments = SplitTopLevel(name, "::");
    std::string out;
    for (std::size_t i = 0; i < segments.size(); ++i) {
        const std::string_view segment = segments[i];
        if (i != 0) {
            out += "::";
        }
        if (segment == "{anonymous}") {
            out += "`anonymous-namespace'";
        } else if (StartsWith(segment, "<lambda")) {
            out += "<lambda>";
            if (i + 1 == segments.size()) {
                out += "::operator ()";  // the body of a lambda is its call operator
            }
        } else if (StartsWith(segment, "operator") && (segment.size() == 8 || !IsIdentifierChar(segment[8]))) {
            out += segment;
        } else {
            out += DecorateTemplateSegment(segment, bindings);
        }
    }
    return out;
}

std::string DecorateName(std::string_view name) { return DecorateSegments(name, {}); }

bool IsOperatorAt(std::string_view text, std::size_t i)
{
    return text.compare(i, 8, "operator") == 0 && (i == 0 || !IsIdentifierChar(text[i - 1])) &&
           (i + 8 >= text.size() || !IsIdentifierChar(text[i + 8]));
}

// "operator<" becomes "operator <", "operator()" "operator ()"; conversion operators and
// new/delete keep their words. i is left on the parameter list.
std::string OperatorName(std::string_view text, std::size_t& i)
{
    std::string name = "operator";
    std::size_t j = i + 8;
    if (text.compare(j, 2, "()") == 0) {
        name += " ()";
        j += 2;
    } else if (j < text.size() && text[j] == ' ') {
        int depth = 0;
        std::size_t end = j;
        for (; end < text.size() && !(depth == 0 && text[end] == '('); ++end) {
            if (text[end] == '<') {
                ++depth;
            } else if (text[end] == '>' && depth > 0) {
                --depth;
            }
        }
        name += text.substr(j, end - j);
        j = end;
    } else {
        std::size_t end = j;
        while (end < text.size() && text[end] != '\0' && std::strchr("+-*/%^&|~!=<>,[]", text[end]) != nullptr) {
            ++end;
        }
        name += ' ';
        name += text.substr(j, end - j);
        j = end;
    }
    i = j;
    return name;
}

std::size_t MatchingParenthesis(std::string_view text, std::size_t open)
{
    int depth = 0;
    for (std::size_t i = open; i < text.size(); ++i) {
        if (text[i] == '(') {
            ++depth;
        } else if (text[i] == ')' && --depth == 0) {
            return i;
        }
    }
    return std::string_view::npos;
}

// After an enclosing function's parameter list: its qualifiers, then "::" if a local class or a
// lambda follows. Returns where the nested name starts, or npos.
std::size_t NestedNameAfter(std::string_view text, std::size_t close)
{
    std::size_t i = close + 1;
    for (;;) {
        if (text.compare(i, 2, "::") == 0) {
            return i + 2;
        }
        if (text.compare(i, 1, " ") == 0 || text.compare(i, 1, "&") == 0) {
            ++i;
        } else if (text.compare(i, 5, "const") == 0) {
            i += 5;
        } else if (text.compare(i, 8, "volatile") == 0) {
            i += 8;
        } else {
            return std::string_view::npos;
        }
    }
}

// The qualified name in a declaration: the last word before the parameter list, with the names
// of any enclosing functions (local classes, lambdas) in front.
std::string QualifiedName(std::string_view declaration)
{
    std::string enclosing;
    std::string word;
    int depth = 0;
    for (std::size_t i = 0; i < declaration.size();) {
        const char c = declaration[i];
        if (depth == 0) {
            if (c == ' ') {
                word.clear();
                ++i;
                continue;
            }
            if (IsOperatorAt(declaration, i)) {
                word += OperatorName(declaration, i);
                continue;
            }
            if (c == '(') {
                const std::size_t close = MatchingParenthesis(declaration, i);
                const std::size_t nested = close == std::string_view::npos ? close : NestedNameAfter(declaration, close);
                if (nested == std::string_view::npos) {
                    return enclosing + word;
                }
                enclosing += word + "::";
                word.clear();
                i = nested;
                continue;
            }
        }
        if (Opens(c)) {
            ++depth;
        } else if (Closes(c) && depth > 0) {
            --depth;
        }
        word += c;
        ++i;
    }
    return enclosing + word;
}

std::string FunctionNameOf(std::string_view pretty)
{
    std::string_view declaration = pretty;
    std::vector<Binding> bindings;
    const std::size_t with = pretty.find(" [with ");
    if (with != std::string_view::npos && pretty.back() == ']') {
        declaration = pretty.substr(0, with);
        bindings = ParseBindings(pretty.substr(with + 7, pretty.size() - with - 8));
    }
    const std::string name = QualifiedName(declaration);
    return name.empty() ? std::string(pretty) : DecorateSegments(name, bindings);
}

std::string FileNameOf(std::string_view path)
{
    const std::size_t slash = path.find_last_of("/\\");
    std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
    const std::size_t dot = name.rfind('.');
    if (dot != std::string_view::npos && dot != 0) {
        name = name.substr(0, dot);
    }
    return std::string(name);
}

// Names are computed once per site and then shared by every record of that site, and queued
// records point at them. They are freed when the log is torn down, after its last record is
// written; a site that logs after that is named again.
class InternedNames {
public:
    // Frees every name and the table's own storage, so that nothing of it outlives the module.
    void Release()
    {
        std::lock_guard<std::mutex> hold(lock_);
        for (const auto& entry : names_) {
            delete[] entry.second;
        }
        std::unordered_map<const char*, const wchar_t*>().swap(names_);
    }

    template <class Convert>
    const wchar_t* Get(const char* key, Convert convert)
    {
        {
            std::lock_guard<std::mutex> hold(lock_);
            const auto found = names_.find(key);
            if (found != names_.end()) {
                return found->second;
            }
        }
        const std::wstring wide = Utf8ToWideReplacingInvalid(convert(key));
        auto* text = new wchar_t[wide.size() + 1];
        std::wmemcpy(text, wide.c_str(), wide.size() + 1);
        std::lock_guard<std::mutex> hold(lock_);
        const auto inserted = names_.emplace(key, text);
        if (!inserted.second) {
            delete[] text;  // another thread named the same site meanwhile
        }
        return inserted.first->second;
    }

private:
    std::mutex lock_;
    std::unordered_map<const char*, const wchar_t*> names_;
};

// Never destroyed, since a destructor that runs during exit may still log; it lives in static
// storage rather than on the heap, so that once released nothing of it is left behind when the
// module unloads.
template <int Table>
InternedNames& NamesTable()
{
    alignas(InternedNames) static unsigned char storage[sizeof(InternedNames)];
    static InternedNames* names = new (storage) InternedNames;
    return *names;
}

InternedNames& FunctionNames() { return NamesTable<0>(); }
InternedNames& FileNames() { return NamesTable<1>(); }

}  // namespace

const wchar_t* LogFunctionName(const char* prettyFunction)
{
    if (prettyFunction == nullptr) {
        return L"";
    }
    try {
        return FunctionNames().Get(prettyFunction, [](const char* text) { return FunctionNameOf(text); });
    } catch (...) {
        return L"";
    }
}

const wchar_t* LogFileName(const char* sourceFile)
{
    if (sourceFile == nullptr) {
        return L"";
    }
    try {
        return FileNames().Get(sourceFile, [](const char* text) { return FileNameOf(text); });
    } catch (...) {
        return L"";
    }
}

void LogAt(LogLevel level, const LogSite& site, const wchar_t* format, ...)
{
    if (!QXDrvLogger::IsEnabled(level)) {
        return;
    }
    try {
        const wchar_t* function = LogFunctionName(site.function);
        const wchar_t* file = LogFileName(site.file);
        QXDrvLogger& logger = QXDrvLogger::GetInstance();
        va_list args;
        va_start(args, format);
        logger.LogV(level, function, file, site.line, format, args);
        va_end(args);
    } catch (...) {
    }
}

void ReleaseLogSiteNames()
{
    FunctionNames().Release();
    FileNames().Release();
}
