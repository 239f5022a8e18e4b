#pragma once

// Base classes for NDK interfaces (namespace ndk): SharedRefBase, ICInterface, BnCInterface
// (local objects) and BpCInterface (proxies).

#include <cstdlib>
#include <memory>
#include <mutex>
#include <type_traits>

#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>

namespace ndk {

// Objects are created only through make<T>(): operator new is private, so plain new and
// std::make_unique of subclasses do not compile; std::make_shared is blocked at the end of
// this file.
class SharedRefBase {
  public:
    SharedRefBase() {}
    virtual ~SharedRefBase() {
        std::call_once(mFlagThis, [&]() {
            __assert(__FILE__, __LINE__, "SharedRefBase: no ref created during lifetime");
        });
    }

    // The shared owner of this object; the first call creates it.
    std::shared_ptr<SharedRefBase> ref() {
        std::shared_ptr<SharedRefBase> thiz = mThis.lock();
        std::call_once(mFlagThis, [&]() { mThis = thiz = std::shared_ptr<SharedRefBase>(this); });
        return thiz;
    }
    template <typename CHILD>
    std::shared_ptr<CHILD> ref() {
        return std::static_pointer_cast<CHILD>(ref());
    }

    template <class T, class... Args>
    static std::shared_ptr<T> make(Args&&... args) {
        T* t = new T(std::forward<Args>(args)...);
        return t->template ref<T>();
    }

    static void operator delete(void* p) { std::free(p); }

  private:
    static void* operator new(size_t s) { return std::malloc(s); }

    std::once_flag mFlagThis;
    std::weak_ptr<SharedRefBase> mThis;
};

// A parcelable's stability (local or VINTF).
enum { STABILITY_LOCAL, STABILITY_VINTF };
typedef int32_t parcelable_stability_t;

class ICInterface : public SharedRefBase {
  public:
    ICInterface() {}
    virtual ~ICInterface() {}

    // The binder for this object: a local one for BnCInterface, the held proxy for BpCInterface.
    virtual SpAIBinder asBinder() = 0;
    virtual bool isRemote() = 0;

    // A class whose local binders keep their ICInterface alive and dispatch to onTransact.
    static inline AIBinder_Class* defineClass(const char* interfaceDescriptor,
                                              AIBinder_Class_onTransact onTransact);
    // The local object behind binder, or null for proxies and foreign classes.
    static inline std::shared_ptr<ICInterface> asInterface(AIBinder* binder);

  private:
    class ICInterfaceData {
      public:
        std::shared_ptr<ICInterface> interface;
        static inline void* onCreate(void* args);
        static inline void onDestroy(void* userData);
    };
};

template <typename INTERFACE>
class BnCInterface : public INTERFACE {
  public:
    BnCInterface() {}
    virtual ~BnCInterface() {}

    SpAIBinder asBinder() override final;
    bool isRemote() override final { return false; }

  protected:
    virtual SpAIBinder createBinder() = 0;

  private:
    std::mutex mMutex;  // guards mWeakBinder
    ScopedAIBinder_Weak mWeakBinder;
};

template <typename INTERFACE>
class BpCInterface : public INTERFACE {
  public:
    explicit BpCInterface(const SpAIBinder& binder) : mBinder(binder) {}
    virtual ~BpCInterface() {}

    SpAIBinder asBinder() override final { return mBinder; }
    bool isRemote() override final { return AIBinder_isRemote(mBinder.get()); }

  private:
    SpAIBinder mBinder;
};

AIBinder_Class* ICInterface::defineClass(const char* interfaceDescriptor,
                                         AIBinder_Class_onTransact onTransact) {
    return AIBinder_Class_define(interfaceDescriptor, ICInterfaceData::onCreate,
                                 ICInterfaceData::onDestroy, onTransact);
}

std::shared_ptr<ICInterface> ICInterface::asInterface(AIBinder* binder) {
    if (binder == nullptr) return nullptr;
    void* userData = AIBinder_getUserData(binder);
    if (userData == nullptr) return nullptr;
    return static_cast<ICInterfaceData*>(userData)->interface;
}

void* ICInterface::ICInterfaceData::onCreate(void* args) {
    std::shared_ptr<ICInterface> interface = static_cast<ICInterface*>(args)->ref<ICInterface>();
    return static_cast<void*>(new ICInterfaceData{interface});
}

void ICInterface::ICInterfaceData::onDestroy(void* userData) {
    delete static_cast<ICInterfaceData*>(userData);
}

template <typename INTERFACE>
SpAIBinder BnCInterface<INTERFACE>::asBinder() {
    std::lock_guard<std::mutex> l(mMutex);
    SpAIBinder binder;
    if (mWeakBinder.get() != nullptr) binder.set(AIBinder_Weak_promote(mWeakBinder.get()));
    if (binder.get() == nullptr) {
        binder = createBinder();
        mWeakBinder.set(AIBinder_Weak_new(binder.get()));
    }
    return binder;
}

}  // namespace ndk

// std::make_shared of a SharedRefBase subclass does not compile, as on the platform: its object
// would not know its owner, so the first ref() would make a second one and free it twice.
// The overload below is ambiguous with the standard one for exactly these types; use
// ndk::SharedRefBase::make<T>(...) instead.
namespace std {
template <class T, class... Args,
          std::enable_if_t<std::is_base_of<::ndk::SharedRefBase, T>::value, int> = 0>
shared_ptr<T> make_shared(Args&&... args) = delete;
}  // namespace std
