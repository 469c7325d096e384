// The Windows stand-in answers as Windows does: exact HRESULTs, last errors and layouts.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include <cerrno>

#include <bidispl.h>
#include <filterpipeline.h>
#include <objbase.h>
#include <platform/comobject.h>
#include <platform/simulatedmachine.h>
#include <platform/win32error.h>
#include <printerextension.h>
#include <xpsrassvc.h>
#include <platform/machine.h>
#include <platform/text.h>
#include <windows.h>
#include <wrl/client.h>
#include <xpsobjectmodel.h>

using Microsoft::WRL::ComPtr;
namespace fs = std::filesystem;

extern char** environ;

namespace {

std::wstring Format(const wchar_t* format, ...)
{
    wchar_t buffer[64];
    va_list args;
    va_start(args, format);
    _vsnwprintf_s(buffer, 64, _TRUNCATE, format, args);
    va_end(args);
    return buffer;
}

TEST(WidePrintf, FollowsTheCRuntimeRulesForStringConversions)
{
    EXPECT_EQ(Format(L"[%s]", L"wide"), L"[wide]");
    EXPECT_EQ(Format(L"[%ls|%ws]", L"a", L"b"), L"[a|b]");
    EXPECT_EQ(Format(L"[%S|%hs]", "narrow", "short"), L"[narrow|short]");
    EXPECT_EQ(Format(L"[%c%C]", L'w', 'n'), L"[wn]");
    EXPECT_EQ(Format(L"[%5s|%-3s|%.2s]", L"ab", L"c", L"xyz"), L"[   ab|c  |xy]");
    EXPECT_EQ(Format(L"%d", static_cast<int>(E_ABORT)), L"-2147467260");
    EXPECT_EQ(Format(L"%I64d %I32u %Iu %%s", -5LL, 7u, static_cast<size_t>(9)), L"-5 7 9 %s");
    EXPECT_EQ(Format(L"%08X", 0x8007000Eu), L"8007000E");
    wchar_t buffer[8];  // truncated to the buffer, and said so
    EXPECT_EQ(_snwprintf_s(buffer, 8, _TRUNCATE, L"%s", L"0123456789"), -1);
    EXPECT_STREQ(buffer, L"0123456");
    EXPECT_EQ(_snwprintf_s(buffer, 8, _TRUNCATE, L"%s", L"0123456"), 7);
}

TEST(Text, ConvertsBetweenWideUtf8AndUtf16)
{
    const std::wstring text = L"Calvost \u00e9\u20ac\U0001F5A8";
    EXPECT_EQ(platform::FromUtf8(platform::ToUtf8(text)), text);
    EXPECT_EQ(platform::ToUtf16(text).size(), text.size() + 1);  // the printer is a surrogate pair
    EXPECT_EQ(platform::FromUtf16(platform::ToUtf16(text)), text);
    EXPECT_EQ(platform::FromUtf8("a\xff" "b\xc3"), L"a\uFFFD" L"b\uFFFD");
    EXPECT_EQ(platform::FromUtf8("\xc0\xaf"), L"\uFFFD");  // overlong
}

TEST(CodePages, ConvertLikeWindowsAndReportWhatDoesNotConvert)
{
    wchar_t wide[8] = {};
    EXPECT_EQ(MultiByteToWideChar(CP_THREAD_ACP, 0, "\x80\xe9", 2, nullptr, 0), 2) << "a size query";
    EXPECT_EQ(MultiByteToWideChar(CP_THREAD_ACP, 0, "\x80\xe9", 2, wide, 8), 2);
    EXPECT_EQ(std::wstring(wide, 2), L"\u20ac\u00e9");
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "\xe2\x82\xac", 3, wide, 1), 1);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "ab", 2, wide, 1), 0);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, "a\xff", 2, wide, 8), 0);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_UNICODE_TRANSLATION));

    char narrow[8] = {};
    BOOL usedDefault = FALSE;
    EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, L"\u20ac\u4e00", 2, narrow, 8, nullptr, &usedDefault), 2);
    EXPECT_EQ(std::string(narrow, 2), "\x80?");
    EXPECT_TRUE(usedDefault);
    const wchar_t loneSurrogate[] = {L'a', static_cast<wchar_t>(0xD800)};
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, loneSurrogate, 2, narrow, 8, nullptr, nullptr), 0);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_UNICODE_TRANSLATION));
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, L"\u20ac", -1, narrow, 8, nullptr, nullptr), 4) << "with the terminator";
    EXPECT_STREQ(narrow, "\xe2\x82\xac");
}

TEST(Bstr, KeepsItsLengthAndEmbeddedNulls)
{
    BSTR text = SysAllocStringLen(L"ab\0cd", 5);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(SysStringLen(text), 5u);
    EXPECT_EQ(text[5], L'\0');
    SysFreeString(text);
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    SysFreeString(nullptr);
}

// Counts the objects alive, so a test sees who still holds a reference.
int g_alive = 0;

struct DeveloperReason : platform::ComObject<DeveloperReason, IImgErrorInfo> {
    DeveloperReason() { ++g_alive; }
    ~DeveloperReason() override { --g_alive; }
    HRESULT GetDeveloperDescription(BSTR*) override { return S_OK; }
};

TEST(Variant, CopiesOwnTheirTextAndReferences)
{
    g_alive = 0;
    VARIANT text{}, object{}, textCopy{}, objectCopy{};  // all bytes zero is what VariantInit leaves
    text.vt = VT_BSTR;
    text.bstrVal = SysAllocString(L"PrinterName");
    object.vt = VT_UNKNOWN;
    object.punkVal = platform::MakeComObject<DeveloperReason>();
    ASSERT_EQ(VariantCopy(&textCopy, &text), S_OK);
    ASSERT_EQ(VariantCopy(&objectCopy, &object), S_OK);
    EXPECT_NE(textCopy.bstrVal, text.bstrVal);

    VariantClear(&text);
    VariantClear(&object);
    EXPECT_EQ(text.vt, VT_EMPTY);
    EXPECT_EQ(g_alive, 1);  // the copy still holds a reference
    EXPECT_STREQ(textCopy.bstrVal, L"PrinterName");
    VariantClear(&objectCopy);
    VariantClear(&textCopy);
    EXPECT_EQ(g_alive, 0);
}

// A movable block of no bytes comes discarded; GlobalReAlloc gives it memory and takes it away.
TEST(GlobalMemory, LocksCountDiscardedBlocksHaveNoMemoryAndStaleHandlesFail)
{
    HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 0);
    EXPECT_EQ(GlobalLock(block), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_DISCARDED});
    EXPECT_EQ(GlobalSize(block), 0u);
    EXPECT_EQ(GlobalFlags(block), GMEM_DISCARDED);
    ASSERT_EQ(GlobalReAlloc(block, 16, GMEM_MOVEABLE | GMEM_ZEROINIT), block);
    EXPECT_EQ(GlobalSize(block), 16u);
    auto* first = static_cast<BYTE*>(GlobalLock(block));
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first[15], 0);
    EXPECT_EQ(GlobalLock(block), first);
    EXPECT_EQ(GlobalFlags(block), 2u) << "two locks, not discarded";
    for (const UINT flags : {UINT{GMEM_MOVEABLE} /* locked */, UINT{GMEM_FIXED}, UINT{GMEM_MOVEABLE | GMEM_DISCARDABLE}}) {
        EXPECT_EQ(GlobalReAlloc(block, 0, flags), nullptr) << flags;
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER}) << flags;
    }
    EXPECT_TRUE(GlobalUnlock(block));  // still locked once
    EXPECT_FALSE(GlobalUnlock(block));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_FALSE(GlobalUnlock(block));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_LOCKED));
    EXPECT_EQ(GlobalReAlloc(block, 0, GMEM_MOVEABLE), block);
    EXPECT_EQ(GlobalFlags(block), GMEM_DISCARDED);
    ComPtr<IStream> stream;  // an empty stream that a write brings back
    ASSERT_EQ(CreateStreamOnHGlobal(block, FALSE, &stream), S_OK);
    ULONG count = 1;
    EXPECT_EQ(stream->Read(first, 1, &count), S_OK);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(stream->Write("x", 1, &count), S_OK);
    EXPECT_EQ(GlobalFlags(block), 0u);
    stream.Reset();
    EXPECT_EQ(GlobalFree(block), nullptr);

    EXPECT_EQ(GlobalLock(block), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_EQ(GlobalFlags(block), GMEM_INVALID_HANDLE);
    EXPECT_EQ(GlobalFree(block), block);
    block = GlobalAlloc(GMEM_FIXED, 0);
    EXPECT_EQ(GlobalSize(block), 1u) << "a fixed block is never empty";
    GlobalFree(block);
}

TEST(StreamOnHGlobal, ReadsWritesSeeksGrowsAndFreesItsBlockOnlyWhenAsked)
{
    HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 4);
    ASSERT_NE(block, nullptr);
    std::memcpy(GlobalLock(block), "abcd", 4);
    GlobalUnlock(block);
    ComPtr<IStream> stream;
    ASSERT_EQ(CreateStreamOnHGlobal(block, FALSE, &stream), S_OK);

    char buffer[8] = {};
    ULONG read = 0;
    EXPECT_EQ(stream->Read(buffer, 8, &read), S_OK);
    EXPECT_EQ(std::string(buffer, read), "abcd");
    EXPECT_EQ(stream->Read(buffer, 8, &read), S_OK);
    EXPECT_EQ(read, 0u);
    ULONG written = 0;
    EXPECT_EQ(stream->Write("efgh", 4, &written), S_OK);
    EXPECT_EQ(written, 4u);
    STATSTG status{};
    EXPECT_EQ(stream->Stat(&status, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(status.cbSize.QuadPart, 8u);
    LARGE_INTEGER move{};
    move.QuadPart = -3;
    ULARGE_INTEGER position{};
    EXPECT_EQ(stream->Seek(move, STREAM_SEEK_END, &position), S_OK);
    EXPECT_EQ(position.QuadPart, 5u);
    move.QuadPart = -6;
    EXPECT_EQ(stream->Seek(move, STREAM_SEEK_CUR, nullptr), STG_E_INVALIDFUNCTION);

    stream.Reset();
    ASSERT_NE(GlobalLock(block), nullptr) << "without delete-on-release the block stays the caller's";
    GlobalUnlock(block);
    ASSERT_EQ(CreateStreamOnHGlobal(block, TRUE, &stream), S_OK);
    stream.Reset();
    EXPECT_EQ(GlobalLock(block), nullptr) << "delete-on-release frees the block with the stream";
    EXPECT_EQ(CreateStreamOnHGlobal(block, TRUE, &stream), E_INVALIDARG) << "a freed block";
    EXPECT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, nullptr), E_INVALIDARG);
}

TEST(Com, ActivationNeedsAnApartment)
{
    ComPtr<IXpsOMObjectFactory> factory;
    EXPECT_EQ(CoCreateInstance(CLSID_XpsOMObjectFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory)),
              CO_E_NOTINITIALIZED);
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_FALSE);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), RPC_E_CHANGED_MODE);
    EXPECT_EQ(CoCreateInstance(CLSID_XpsOMObjectFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory)), S_OK);
    EXPECT_TRUE(factory);
    factory.Reset();
    const CLSID unknown = {0x12345678, 0, 0, {0, 0, 0, 0, 0, 0, 0, 1}};
    ComPtr<IUnknown> object;
    EXPECT_EQ(CoCreateInstance(unknown, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object)), REGDB_E_CLASSNOTREG);
    CoUninitialize();
    CoUninitialize();
}

std::string GuidText(REFGUID id)
{
    char text[40];
    const BYTE* d = id.Data4;
    std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", id.Data1, id.Data2, id.Data3,
                  d[0], d[1], d[2], d[3], d[4], d[5], d[6], d[7]);
    return text;
}

TEST(Interfaces, CarryTheIdentifiersOfTheWindowsHeaders)
{
    const std::pair<const GUID&, const char*> cases[] = {
        {IID_IUnknown, "{00000000-0000-0000-C000-000000000046}"}, {IID_IDispatch, "{00020400-0000-0000-C000-000000000046}"},
        {IID_IClassFactory, "{00000001-0000-0000-C000-000000000046}"}, {IID_IStream, "{0000000C-0000-0000-C000-000000000046}"},
        {IID_IErrorInfo, "{1CF2B120-547D-101B-8E65-08002B2BD119}"}, {IID_ISequentialStream, "{0C733A30-2A1C-11CE-ADE5-00AA0044773D}"},
        {IID_IPrinterPropertyBag, "{FEA77364-DF95-4A23-A905-019B79A8E481}"}, {IID_IBidiSpl2, "{0E8F51B8-8273-4906-8E7B-BE453FFD2E2B}"},
        {CLSID_BidiSpl, "{2A614240-A4C5-4C33-BD87-1BC709331639}"}, {IID_IImgErrorInfo, "{2BCE4ECE-D30E-445A-9423-6829BE945AD8}"},
        {IID_IPrintReadStream, "{4D47A67C-66CC-4430-850E-DAF466FE5BC4}"}, {IID_IPrintWriteStream, "{65BB7F1B-371E-4571-8AC7-912F510C1A38}"},
        {IID_IInterFilterCommunicator, "{4DAF1E69-81FD-462D-940F-8CD3DDF56FCA}"},
        {IID_IPrintPipelinePropertyBag, "{8B8C99DC-7892-4A95-8A04-57422E9FBB47}"},
        {IID_IPrintPipelineManagerControl, "{AA3E4910-5889-4681-91EF-823AD4ED4E44}"},
        {IID_IPrintPipelineProgressReport, "{EDC12C7C-ED40-4EA5-96A6-5E4397497A61}"},
        {IID_IPrintPipelineFilter, "{CDB62FC0-8BED-434E-86FB-A2CAE55F19EA}"},
        {IID_IXpsRasterizerNotificationCallback, "{9AB8FD0D-CB94-49C2-9CB0-97EC1D5469D2}"},
        {CLSID_XpsOMObjectFactory, "{E974D26D-3D9B-4D47-88CC-3872F2DC3585}"},
        {IID_IXpsOMObjectFactory, "{F9B2A685-A50D-4FC2-B764-B56E093EA0CA}"},
    };
    for (const auto& [id, text] : cases) {
        EXPECT_EQ(GuidText(id), text);
    }
}

// An object answers for the interfaces its interface derives from, and E_NOTIMPL for the methods
// it leaves out.
TEST(Interfaces, ObjectsAnswerForTheirBasesAndLeaveTheRestNotImplemented)
{
    platform::PrinterDescription printer;
    printer.name = L"QX Interfaces";
    printer.driverPropertyBag.emplace();
    platform::SimulatedMachine::AddPrinter(printer);
    ComPtr<IPrinterPropertyBag> bag;
    bag.Attach(platform::SimulatedMachine::NewDriverPropertyBag(printer.name));
    ComPtr<IImgErrorInfo> reason;
    reason.Attach(platform::MakeComObject<DeveloperReason>());
    const std::tuple<IUnknown*, const IID&, HRESULT> cases[] = {
        {bag.Get(), IID_IDispatch, S_OK},       {bag.Get(), IID_IErrorInfo, E_NOINTERFACE},
        {reason.Get(), IID_IErrorInfo, S_OK},   {reason.Get(), IID_IDispatch, E_NOINTERFACE},
    };
    for (const auto& [object, iid, expected] : cases) {
        ComPtr<IUnknown> answer;
        EXPECT_EQ(object->QueryInterface(iid, &answer), expected) << GuidText(iid);
    }
    UINT count = 0;
    EXPECT_EQ(bag->GetTypeInfoCount(&count), E_NOTIMPL);
    EXPECT_EQ(bag->GetReadStream(nullptr, nullptr), E_NOTIMPL);
    EXPECT_EQ(reason->GetExceptionId(nullptr), E_NOTIMPL);
    EXPECT_EQ(reason->GetHelpContext(nullptr), E_NOTIMPL);
}

// A full quota or an oversized file is a full disk to Windows, and an I/O failure never a bad parameter.
TEST(Win32Errors, HostFailuresReadAsWindowsReportsThem)
{
    const std::pair<int, DWORD> cases[] = {
        {ENOENT, ERROR_FILE_NOT_FOUND}, {ENOTDIR, ERROR_PATH_NOT_FOUND}, {EACCES, ERROR_ACCESS_DENIED},
        {EPERM, ERROR_ACCESS_DENIED},   {EROFS, ERROR_WRITE_PROTECT},    {ENOSPC, ERROR_DISK_FULL},
        {EDQUOT, ERROR_DISK_FULL},      {EFBIG, ERROR_DISK_FULL},        {EEXIST, ERROR_FILE_EXISTS},
        {EIO, ERROR_IO_DEVICE},         {EPIPE, ERROR_NO_DATA},          {ENOLINK, ERROR_GEN_FAILURE},
    };
    for (const auto& [error, expected] : cases) {
        EXPECT_EQ(platform::Win32ErrorOf(error), expected) << error;
    }
    const fs::path full = fs::path(platform::MachineRoot()) / "C" / "full";  // /dev/full refuses writes: ENOSPC
    fs::create_directories(full.parent_path());
    std::error_code linked;
    fs::create_symlink("/dev/full", full, linked);
    const HANDLE file = CreateFileW(L"C:\\full", GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    DWORD written = 1;
    EXPECT_TRUE(linked || (!WriteFile(file, "x", 1, &written, nullptr) && GetLastError() == ERROR_DISK_FULL));
    CloseHandle(file);
    fs::remove(full);
}

TEST(Mutex, IsRecursiveForItsOwnerAndExclusiveForOthers)
{
    const HANDLE mutex = CreateMutexW(nullptr, TRUE, L"QXTestMutexThreads");
    ASSERT_NE(mutex, nullptr);
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0);
    DWORD otherWait = 0;
    BOOL otherRelease = TRUE;
    DWORD otherError = 0;
    std::thread([&] {
        const HANDLE other = OpenMutexW(SYNCHRONIZE, FALSE, L"QXTestMutexThreads");
        otherWait = WaitForSingleObject(other, 20);
        otherRelease = ReleaseMutex(other);
        otherError = GetLastError();
        CloseHandle(other);
    }).join();
    EXPECT_EQ(otherWait, WAIT_TIMEOUT);
    EXPECT_FALSE(otherRelease);
    EXPECT_EQ(otherError, static_cast<DWORD>(ERROR_NOT_OWNER));
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_FALSE(ReleaseMutex(mutex));

    std::thread([&] { otherWait = WaitForSingleObject(mutex, 1000); ReleaseMutex(mutex); }).join();
    EXPECT_EQ(otherWait, WAIT_OBJECT_0);
    EXPECT_TRUE(CloseHandle(mutex));
    EXPECT_FALSE(CloseHandle(mutex));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_FAILED);
}

// Another process holding a named mutex: it says "held" once it owns it and lets go when its
// standard input closes, or dies holding it.
class MutexHolder {
public:
    MutexHolder(const char* name, bool die)
    {
        int toChild[2];
        int fromChild[2];
        EXPECT_EQ(::pipe2(toChild, O_CLOEXEC), 0);
        EXPECT_EQ(::pipe2(fromChild, O_CLOEXEC), 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, toChild[0], 0);
        posix_spawn_file_actions_adddup2(&actions, fromChild[1], 1);
        char* argv[] = {const_cast<char*>(MUTEXHOLDER_PATH), const_cast<char*>(name),
                        const_cast<char*>(die ? "die" : "keep"), nullptr};
        EXPECT_EQ(posix_spawn(&pid_, MUTEXHOLDER_PATH, &actions, nullptr, argv, environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        ::close(toChild[0]);
        ::close(fromChild[1]);
        input_ = toChild[1];
        output_ = fromChild[0];
    }
    ~MutexHolder()
    {
        WaitForExit();
        ::close(output_);
    }
    bool Holds()
    {
        char text[5] = {};
        return ::read(output_, text, 4) == 4 && std::string(text) == "held";
    }
    void Let()
    {
        if (input_ >= 0) {
            ::close(std::exchange(input_, -1));
        }
    }
    void WaitForExit()
    {
        Let();
        if (pid_ > 0) {
            ::waitpid(std::exchange(pid_, -1), nullptr, 0);
        }
    }

private:
    pid_t pid_ = -1;
    int input_ = -1;
    int output_ = -1;
};

TEST(Mutex, ANamedMutexOrdersProcessesAndSurvivesADeadOwner)
{
    const HANDLE mutex = CreateMutexW(nullptr, FALSE, L"QXTestMutexProcesses");
    ASSERT_NE(mutex, nullptr);
    {
        MutexHolder holder("QXTestMutexProcesses", false);
        ASSERT_TRUE(holder.Holds());
        EXPECT_EQ(WaitForSingleObject(mutex, 50), WAIT_TIMEOUT);
        holder.Let();
        EXPECT_EQ(WaitForSingleObject(mutex, INFINITE), WAIT_OBJECT_0);
        EXPECT_TRUE(ReleaseMutex(mutex));
    }
    {
        MutexHolder holder("QXTestMutexProcesses", true);
        ASSERT_TRUE(holder.Holds());
        holder.WaitForExit();
        EXPECT_EQ(WaitForSingleObject(mutex, 5000), WAIT_ABANDONED) << "the owner died holding it";
        EXPECT_TRUE(ReleaseMutex(mutex));
        EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0) << "and it works as before";
        EXPECT_TRUE(ReleaseMutex(mutex));
    }
    CloseHandle(mutex);
}

TEST(Machine, MapsWindowsPathsUnderTheRoot)
{
    const std::string root = platform::MachineRoot();
    EXPECT_EQ(platform::HostPathOf(L"C:\\QX Inc\\Calvost"), root + "/C/QX Inc/Calvost");
    EXPECT_EQ(platform::HostPathOf(L"c:/QX Inc/./Calvost/"), root + "/C/QX Inc/Calvost");
    EXPECT_EQ(platform::HostPathOf(L"D:\\a\\..\\b"), root + "/D/b");
    EXPECT_EQ(platform::HostPathOf(L"\\\\server\\share\\x"), root + "/UNC/server/share/x");
    EXPECT_EQ(platform::HostPathOf(L"C:\\..\\etc"), std::nullopt);
    EXPECT_EQ(platform::HostPathOf(L"relative\\path"), std::nullopt);
    EXPECT_EQ(platform::HostPathOf(L""), std::nullopt);
}

// Another user may make the default root's entry in /tmp first: a missing root is made the user's
// own, an existing one is judged as itself, and a link is taken only when the caller named it.
TEST(Machine, ARootMustBeTheUsersOwnAndTheDefaultIsMadePrivateAndNeverFollowed)
{
    char pattern[] = "/tmp/qxtest-root-XXXXXX";
    const fs::path base = ::mkdtemp(pattern);
    const std::string made = base / "made";
    const std::string link = base / "link";
    EXPECT_EQ(platform::MachineRootRefusal(made, true), std::nullopt);
    EXPECT_EQ(fs::status(made).permissions(), fs::perms(::geteuid() == 0 ? 0711 : 0700));
    EXPECT_EQ(platform::MachineRootRefusal(made, true), std::nullopt) << "the user's own root, again";
    fs::create_directory_symlink(made, link);
    EXPECT_NE(platform::MachineRootRefusal(link, true), std::nullopt);
    EXPECT_EQ(platform::MachineRootRefusal(link, false), std::nullopt);
    fs::permissions(made, fs::perms::all);
    EXPECT_EQ(platform::MachineRootRefusal(made, true),
              "machine root " + made + " may be written by others (mode 0777); refused");
    EXPECT_NE(platform::MachineRootRefusal(link, false), std::nullopt);  // another user's: see test_pipelinehost
    fs::remove_all(base);
}

TEST(Machine, FileAttributesFollowWindows)
{
    const fs::path folder = fs::path(platform::MachineRoot()) / "C" / "attributes";
    fs::create_directories(folder);
    std::ofstream(folder / "file.txt") << "x";

    EXPECT_EQ(GetFileAttributesW(L"C:\\attributes"), FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_EQ(GetFileAttributesW(L"C:\\attributes\\file.txt"), FILE_ATTRIBUTE_ARCHIVE);
    EXPECT_TRUE(SetFileAttributesW(L"C:\\attributes\\file.txt", FILE_ATTRIBUTE_NORMAL));
    EXPECT_EQ(GetFileAttributesW(L"C:\\attributes\\file.txt"), FILE_ATTRIBUTE_NORMAL);
    EXPECT_TRUE(SetFileAttributesW(L"C:\\attributes", FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(GetFileAttributesW(L"C:\\attributes"), FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY);
    EXPECT_TRUE(SetFileAttributesW(L"C:\\attributes", FILE_ATTRIBUTE_DIRECTORY));
    EXPECT_EQ(GetFileAttributesW(L"C:\\attributes"), FILE_ATTRIBUTE_DIRECTORY);

    EXPECT_EQ(GetFileAttributesW(L"C:\\attributes\\missing"), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(GetFileAttributesW(L"nowhere"), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
    fs::remove_all(folder);
}

}  // namespace
