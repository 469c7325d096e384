// Microsoft::WRL::ComPtr, the owning COM reference.
#pragma once

#include <type_traits>
#include <utility>

#include "../unknwn.h"

namespace Microsoft::WRL {

// What &ptr gives: usable where a ComPtr* is wanted (As), and where an out parameter T** or
// void** is wanted, in which case the old reference is released first.
template <class C>
class ComPtrRef {
public:
    explicit ComPtrRef(C* ptr) noexcept : ptr_(ptr) {}
    operator C*() const noexcept { return ptr_; }
    operator typename C::InterfaceType**() const noexcept { return ptr_->ReleaseAndGetAddressOf(); }
    operator void**() const noexcept { return reinterpret_cast<void**>(ptr_->ReleaseAndGetAddressOf()); }
    typename C::InterfaceType* operator*() const noexcept { return ptr_->Get(); }

private:
    C* ptr_;
};

template <class C>
void** IID_PPV_ARGS_Helper(ComPtrRef<C> ref)
{
    return static_cast<void**>(ref);
}

template <class T>
class ComPtr {
public:
    using InterfaceType = T;

    ComPtr() noexcept = default;
    ComPtr(std::nullptr_t) noexcept {}
    ComPtr(T* p) noexcept : ptr_(p) { InternalAddRef(); }
    ComPtr(const ComPtr& other) noexcept : ptr_(other.ptr_) { InternalAddRef(); }
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    ComPtr(const ComPtr<U>& other) noexcept : ptr_(other.Get()) { InternalAddRef(); }
    ComPtr(ComPtr&& other) noexcept : ptr_(std::exchange(other.ptr_, nullptr)) {}
    ~ComPtr() { InternalRelease(); }

    ComPtr& operator=(const ComPtr& other) noexcept
    {
        ComPtr(other).Swap(*this);
        return *this;
    }
    ComPtr& operator=(ComPtr&& other) noexcept
    {
        ComPtr(std::move(other)).Swap(*this);
        return *this;
    }
    ComPtr& operator=(T* p) noexcept
    {
        ComPtr(p).Swap(*this);
        return *this;
    }
    ComPtr& operator=(std::nullptr_t) noexcept
    {
        Reset();
        return *this;
    }

    T* Get() const noexcept { return ptr_; }
    T* operator->() const noexcept { return ptr_; }
    explicit operator bool() const noexcept { return ptr_ != nullptr; }

    T** GetAddressOf() noexcept { return &ptr_; }
    T** ReleaseAndGetAddressOf() noexcept
    {
        InternalRelease();
        return &ptr_;
    }
    ComPtrRef<ComPtr> operator&() noexcept { return ComPtrRef<ComPtr>(this); }

    ULONG Reset() noexcept { return InternalRelease(); }
    void Attach(T* p) noexcept
    {
        InternalRelease();
        ptr_ = p;
    }
    T* Detach() noexcept { return std::exchange(ptr_, nullptr); }
    void Swap(ComPtr& other) noexcept { std::swap(ptr_, other.ptr_); }

    template <class U>
    HRESULT As(ComPtr<U>* target) const noexcept
    {
        if (ptr_ == nullptr) {
            return E_POINTER;
        }
        return ptr_->QueryInterface(__uuidof(U), reinterpret_cast<void**>(target->ReleaseAndGetAddressOf()));
    }

    template <class U>
    HRESULT As(ComPtrRef<ComPtr<U>> target) const noexcept
    {
        return As(static_cast<ComPtr<U>*>(target));
    }

    HRESULT CopyTo(T** target) const noexcept
    {
        InternalAddRef();
        *target = ptr_;
        return S_OK;
    }

private:
    void InternalAddRef() const noexcept
    {
        if (ptr_ != nullptr) {
            ptr_->AddRef();
        }
    }
    ULONG InternalRelease() noexcept
    {
        ULONG count = 0;
        if (T* p = std::exchange(ptr_, nullptr)) {
            count = p->Release();
        }
        return count;
    }

    T* ptr_ = nullptr;
};

template <class T>
bool operator==(const ComPtr<T>& a, std::nullptr_t) noexcept
{
    return a.Get() == nullptr;
}
template <class T>
bool operator!=(const ComPtr<T>& a, std::nullptr_t) noexcept
{
    return a.Get() != nullptr;
}

}  // namespace Microsoft::WRL
