// Reference counting and QueryInterface, written once for every COM object of the module. T is the
// one interface the object implements; an object is born holding one reference.
#pragma once

#include <cstdint>
#include <cstring>

#include <windows.h>
#include <unknwn.h>

#include "qxdrvlogger.h"

template <class T>
class UnknownBase : public T {
public:
    HRESULT QueryInterface(REFIID riid, void** ppv) override
    {
        if (ppv == nullptr) {
            QXLOG_ERROR(L"ppv pointer is NULL. Invalid arg.");
            return E_POINTER;
        }
        if (SameIid(riid, IID_IUnknown) || SameIid(riid, __uuidof(T))) {
            *ppv = static_cast<T*>(this);
            AddRef();
            return S_OK;
        }
        QXLOG_ERROR(L"Invalid interface");
        *ppv = nullptr;
        return E_NOINTERFACE;
    }

    ULONG AddRef() override { return InterlockedIncrement(&m_refCount); }

    ULONG Release() override
    {
        const ULONG count = InterlockedDecrement(&m_refCount);
        if (count == 0) {
            delete this;
        }
        return count;
    }

    UnknownBase(const UnknownBase&) = delete;
    UnknownBase& operator=(const UnknownBase&) = delete;

protected:
    UnknownBase() = default;
    virtual ~UnknownBase() = default;

private:
    // IIDs compare as two 64-bit words.
    static bool SameIid(REFIID a, REFIID b)
    {
        std::uint64_t wordsA[2];
        std::uint64_t wordsB[2];
        std::memcpy(wordsA, &a, sizeof wordsA);
        std::memcpy(wordsB, &b, sizeof wordsB);
        return wordsA[0] == wordsB[0] && wordsA[1] == wordsB[1];
    }

    ULONG m_refCount = 1;
};
