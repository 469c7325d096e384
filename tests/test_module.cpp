// The module as the pipeline sees it: its two exports, the class factory, the object count that
// decides unloading, and the reference counting every object shares.
#include <dlfcn.h>

#include <cstdio>
#include <set>
#include <stdexcept>

#include <gtest/gtest.h>

#include <filterpipeline.h>
#include <wrl/client.h>
#include <xpsrassvc.h>

#include "hostpreviewfilter.h"
#include "moduleobjectcount.h"
#include "testmachine.h"
#include "xpsfilterprevfactory.h"

using Microsoft::WRL::ComPtr;
using testsupport::LogTail;

namespace {

constexpr CLSID kFilterClsid = {0x71466C95, 0xF6AC, 0x4F67, {0x83, 0x5D, 0x2F, 0x5F, 0x66, 0xE3, 0xED, 0xE4}};

using DllGetClassObjectFunction = HRESULT (*)(REFCLSID, REFIID, void**);
using DllCanUnloadNowFunction = HRESULT (*)();

// The module file, loaded once for the whole program as the pipeline keeps it loaded.
class Module {
public:
    static Module& Get()
    {
        static Module module;
        return module;
    }
    HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** object) const { return getClassObject_(clsid, iid, object); }
    HRESULT CanUnloadNow() const { return canUnloadNow_(); }

private:
    Module()
    {
        handle_ = ::dlopen(QXIPREV_MODULE_PATH, RTLD_NOW | RTLD_LOCAL);
        if (handle_ == nullptr) {
            throw std::runtime_error(::dlerror());
        }
        getClassObject_ = reinterpret_cast<DllGetClassObjectFunction>(::dlsym(handle_, "DllGetClassObject"));
        canUnloadNow_ = reinterpret_cast<DllCanUnloadNowFunction>(::dlsym(handle_, "DllCanUnloadNow"));
        // The module's log starts with its first filter, as after the first job of a pipeline.
        Microsoft::WRL::ComPtr<IClassFactory> factory;
        Microsoft::WRL::ComPtr<IPrintPipelineFilter> filter;
        getClassObject_(kFilterClsid, IID_IClassFactory, &factory);
        factory->CreateInstance(nullptr, IID_IPrintPipelineFilter, &filter);
    }
    void* handle_ = nullptr;
    DllGetClassObjectFunction getClassObject_ = nullptr;
    DllCanUnloadNowFunction canUnloadNow_ = nullptr;
};

ComPtr<IClassFactory> FilterFactory()
{
    ComPtr<IClassFactory> factory;
    EXPECT_EQ(Module::Get().GetClassObject(kFilterClsid, IID_IClassFactory, &factory), S_OK);
    return factory;
}

TEST(ModuleExports, AreExactlyTheTwoComEntryPoints)
{
    FILE* listing = ::popen("nm -D --defined-only '" QXIPREV_MODULE_PATH "'", "r");
    ASSERT_NE(listing, nullptr);
    std::set<std::string> exported;
    char line[512];
    while (std::fgets(line, sizeof line, listing) != nullptr) {
        std::string text(line);
        text.erase(text.find_last_not_of("\n") + 1);
        exported.insert(text.substr(text.rfind(' ') + 1));
    }
    ::pclose(listing);
    EXPECT_EQ(exported, (std::set<std::string>{"DllCanUnloadNow", "DllGetClassObject"}));
}

TEST(DllGetClassObject, ServesOnlyTheFilterClassFactoryAndLeavesNothingAliveOtherwise)
{
    EXPECT_EQ(Module::Get().GetClassObject(kFilterClsid, IID_IClassFactory, nullptr), E_POINTER);

    const CLSID other = {0x71466C95, 0xF6AC, 0x4F67, {0x83, 0x5D, 0x2F, 0x5F, 0x66, 0xE3, 0xED, 0xE5}};
    void* object = reinterpret_cast<void*>(1);
    EXPECT_EQ(Module::Get().GetClassObject(other, IID_IClassFactory, &object), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);

    const LogTail log;
    ComPtr<IPrintPipelineFilter> filter;
    EXPECT_EQ(Module::Get().GetClassObject(kFilterClsid, IID_IPrintPipelineFilter, &filter), E_NOINTERFACE);
    EXPECT_FALSE(filter);
    EXPECT_TRUE(log.WaitFor(L"[ERR] [unknownbase:UnknownBase<struct IClassFactory>::QueryInterface:"));
    EXPECT_TRUE(log.WaitFor(L"] - Invalid interface"));
    EXPECT_EQ(Module::Get().CanUnloadNow(), S_OK);

    ComPtr<IUnknown> unknown;
    EXPECT_EQ(Module::Get().GetClassObject(kFilterClsid, IID_IUnknown, &unknown), S_OK);
    EXPECT_TRUE(unknown);
}

TEST(DllCanUnloadNow, CountsFactoriesFiltersAndLocks)
{
    ASSERT_EQ(Module::Get().CanUnloadNow(), S_OK);
    ComPtr<IClassFactory> factory = FilterFactory();
    EXPECT_EQ(Module::Get().CanUnloadNow(), S_FALSE);

    ComPtr<IPrintPipelineFilter> filter;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IPrintPipelineFilter, &filter), S_OK);
    factory.Reset();
    EXPECT_EQ(Module::Get().CanUnloadNow(), S_FALSE) << "a live filter keeps the module";
    filter.Reset();
    EXPECT_EQ(Module::Get().CanUnloadNow(), S_OK);

    // Answering S_OK ended the module's log writer, so that an unload waits for no thread; the
    // next filter starts it again.
    const LogTail log;
    ASSERT_EQ(FilterFactory()->CreateInstance(nullptr, IID_IPrintPipelineFilter, &filter), S_OK);
    EXPECT_TRUE(log.WaitFor(L"Host Preview Filter - Calling Constructor"));
}

TEST(ClassFactory, ALockHoldsTheModuleUntilTheMatchingUnlockAndAnUnbalancedUnlockDoesNot)
{
    const LONG before = ModuleObjectCount();
    ComPtr<XPSFilterPrevFactory> factory;
    factory.Attach(new XPSFilterPrevFactory);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    EXPECT_EQ(ModuleObjectCount(), before + 2) << "the factory and its lock";
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    EXPECT_EQ(ModuleObjectCount(), before + 1);
    factory->LockServer(FALSE);
    EXPECT_EQ(ModuleObjectCount(), before + 1);
    factory->LockServer(TRUE);  // back to zero: no new count
    EXPECT_EQ(ModuleObjectCount(), before + 1);
    factory.Reset();
    EXPECT_EQ(ModuleObjectCount(), before);
}

TEST(ClassFactory, RefusesAggregationAndNullOutPointers)
{
    ComPtr<IClassFactory> factory = FilterFactory();
    ComPtr<IPrintPipelineFilter> filter;
    EXPECT_EQ(factory->CreateInstance(factory.Get(), IID_IPrintPipelineFilter, &filter), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IPrintPipelineFilter, nullptr), E_POINTER);
    ComPtr<IXpsRasterizerNotificationCallback> callback;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IXpsRasterizerNotificationCallback, &callback), E_NOINTERFACE);
    EXPECT_FALSE(callback);
}

TEST(ClassFactory, AFilterThatCannotBeMadeGivesUnexpected)
{
    ComPtr<XPSFilterPrevFactory> throwing;
    throwing.Attach(new XPSFilterPrevFactory([]() -> IPrintPipelineFilter* { throw std::bad_alloc(); }));
    ComPtr<IPrintPipelineFilter> filter;
    EXPECT_EQ(throwing->CreateInstance(nullptr, IID_IPrintPipelineFilter, &filter), E_UNEXPECTED);
    EXPECT_FALSE(filter);
}

TEST(UnknownBase, LogsANullOutPointerInTheInstantiationsName)
{
    const LogTail log;
    ComPtr<IClassFactory> factory = FilterFactory();
    EXPECT_EQ(factory->QueryInterface(IID_IClassFactory, nullptr), E_POINTER);
    ComPtr<IPrintPipelineFilter> filter;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, &filter), S_OK);
    EXPECT_EQ(filter->QueryInterface(IID_IPrintPipelineFilter, nullptr), E_POINTER);
    EXPECT_TRUE(log.WaitFor(L"[ERR] [unknownbase:UnknownBase<struct IClassFactory>::QueryInterface:"));
    EXPECT_TRUE(log.WaitFor(L"[ERR] [unknownbase:UnknownBase<struct IPrintPipelineFilter>::QueryInterface:"));
    EXPECT_TRUE(log.WaitFor(L"] - ppv pointer is NULL. Invalid arg."));
}

TEST(FilterLiveness, ReportsCancellationOnceTheFilterIsShutDown)
{
    ComPtr<HostPreviewFilter> filter;
    filter.Attach(new HostPreviewFilter);
    IXpsRasterizerNotificationCallback* liveness = filter->Liveness();
    EXPECT_EQ(liveness->Continue(), S_OK);
    ComPtr<IPrintPipelineFilter> asFilter;
    EXPECT_EQ(liveness->QueryInterface(IID_IPrintPipelineFilter, &asFilter), E_NOINTERFACE)
        << "the filter and its liveness are separate objects";
    EXPECT_EQ(filter->ShutdownOperation(), S_OK);
    EXPECT_EQ(liveness->Continue(), static_cast<HRESULT>(0x8007003F));
}

}  // namespace
