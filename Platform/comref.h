// Owners of what the object model hands out: a reference that is released, a text that is freed. They belong to one thread
// at a time.
#pragma once

#include "Platform/com.h"
#include "Platform/memory.h"

#include <string_view>
#include <utility>

// A counted reference; takes over the one it is made of.
template<class T>
class ComRef {
public:
    ComRef() = default;
    explicit ComRef(T* object) : m_object(object) {}
    ComRef(ComRef&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    ComRef& operator=(ComRef&& other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~ComRef() {
        if (m_object) m_object->Release();
    }
    T* operator->() const { return m_object; }
    T* Get() const { return m_object; }
    // The place for an out pointer; what was there is released.
    T** Out() {
        *this = ComRef();
        return &m_object;
    }
    explicit operator bool() const { return m_object != nullptr; }
    // The object's other interface; empty when it has none, or when there is no object.
    template<class U>
    ComRef<U> As(const IID& iid) const {
        void* found = nullptr;
        if (m_object) m_object->QueryInterface(iid, &found);
        return ComRef<U>(static_cast<U*>(found));
    }

private:
    T* m_object = nullptr;
};

// An owned BSTR.
class BstrText {
public:
    BstrText() = default;
    explicit BstrText(std::u16string_view text)
        : m_text(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
    ~BstrText() { SysFreeString(m_text); }
    BstrText(const BstrText&) = delete;
    BstrText& operator=(const BstrText&) = delete;
    operator BSTR() const { return m_text; }
    BSTR* Out() {
        SysFreeString(std::exchange(m_text, nullptr));
        return &m_text;
    }
    std::u16string_view View() const {
        return m_text ? std::u16string_view(m_text, SysStringLen(m_text)) : std::u16string_view();
    }

private:
    BSTR m_text = nullptr;
};
