// What all objects of the object model share: the count of references and the answer to QueryInterface. A class only names
// its interfaces. poom_host.h has the same for items.
#pragma once

#include "Platform/poom.h"

#include <atomic>
#include <concepts>
#include <utility>

namespace plat::poom {

// A counted pointer to an interface or to an object of these files.
template<class T>
class Ref {
public:
    Ref() = default;
    explicit Ref(T* adopted) : m_object(adopted) {} // takes the caller's reference
    Ref(const Ref& other) : m_object(other.m_object) {
        if (m_object) m_object->AddRef();
    }
    Ref(Ref&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    Ref& operator=(Ref other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~Ref() {
        if (m_object) m_object->Release();
    }
    static Ref Of(T& object) {
        object.AddRef();
        return Ref(&object);
    }
    T* Get() const { return m_object; }
    T* Give() { return std::exchange(m_object, nullptr); }
    T* operator->() const { return m_object; }
    T& operator*() const { return *m_object; }
    explicit operator bool() const { return m_object != nullptr; }

private:
    T* m_object = nullptr;
};

class Counted {
public:
    ULONG Up() { return m_count.fetch_add(1, std::memory_order_relaxed) + 1; }
    ULONG Down() { return m_count.fetch_sub(1, std::memory_order_acq_rel) - 1; }

private:
    std::atomic<ULONG> m_count{1};
};

// The id by which an interface is asked for.
template<class Face>
inline constexpr const IID* kIdOf = nullptr;
template<>
inline constexpr const IID* kIdOf<IPOutlookApp2> = &IID_IPOutlookApp2;
template<>
inline constexpr const IID* kIdOf<IFolder> = &IID_IFolder;
template<>
inline constexpr const IID* kIdOf<IPOutlookItemCollection> = &IID_IPOutlookItemCollection;
template<>
inline constexpr const IID* kIdOf<IItem> = &IID_IItem;
template<>
inline constexpr const IID* kIdOf<IAppointment> = &IID_IAppointment;
template<>
inline constexpr const IID* kIdOf<ITask> = &IID_ITask;
template<>
inline constexpr const IID* kIdOf<IContact> = &IID_IContact;
template<>
inline constexpr const IID* kIdOf<IRecurrencePattern> = &IID_IRecurrencePattern;
template<>
inline constexpr const IID* kIdOf<IRecipients> = &IID_IRecipients;
template<>
inline constexpr const IID* kIdOf<IRecipient> = &IID_IRecipient;
template<>
inline constexpr const IID* kIdOf<IRecipient2> = &IID_IRecipient2;
template<>
inline constexpr const IID* kIdOf<IStream> = &IID_IStream;

// QueryInterface of an object with these interfaces. The base interfaces are always those of the first, so that who compares
// two pointers sees one object.
template<class First, class... Others, class T>
HRESULT AnswerQuery(T& object, const IID& iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    const bool base = iid == IID_IUnknown || (std::derived_from<First, IDispatch> && iid == IID_IDispatch);
    if (base || iid == *kIdOf<First>)
        *out = static_cast<First*>(&object);
    else
        (void)((iid == *kIdOf<Others> && (*out = static_cast<Others*>(&object))) || ...);
    if (!*out) return E_NOINTERFACE;
    object.AddRef();
    return S_OK;
}

// An object of its own with these interfaces; it ends with its last reference.
template<class... Faces>
class Object : public Faces... {
public:
    HRESULT QueryInterface(const IID& iid, void** object) final {
        return AnswerQuery<Faces...>(*this, iid, object);
    }
    ULONG AddRef() final { return m_count.Up(); }
    ULONG Release() final {
        const ULONG left = m_count.Down();
        if (left == 0) delete this;
        return left;
    }

protected:
    Object() = default;
    ~Object() override = default;

private:
    Counted m_count;
};

} // namespace plat::poom
