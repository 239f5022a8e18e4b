// The AIBinder C API: local objects, proxies and the in-process transport.
#include <new>

#include <android/binder_ibinder.h>

#include "Binder.h"
#include "BinderNode.h"
#include "Parcel.h"
#include "ServiceRegistry.h"
#include "processkit/Dispatcher.h"

using hostkit::binder::BinderNode;
using hostkit::binder::ServiceRegistry;
using hostkit::processkit::Dispatcher;
using hostkit::processkit::PoolKind;
using hostkit::processkit::Process;

namespace {

const AIBinder_Class* remoteClass(const AIBinder* proxy) {
    ndk::SpAIBinder target = proxy->mNode->target();
    return target.get() != nullptr ? target.get()->mClass.load() : nullptr;
}

// A local object crossing into another "process" arrives there as its proxy.
void localsToProxies(AParcel* parcel) {
    for (ndk::SpAIBinder& binder : parcel->binders()) {
        if (binder.get() != nullptr && !binder.get()->isRemote()) {
            binder = ServiceRegistry::instance().proxyFor(binder.get());
        }
    }
}

// Runs the local object's onTransact after checking the interface token.
binder_status_t deliver(AIBinder* local, transaction_code_t code, AParcel* in, AParcel* out) {
    const AIBinder_Class* clazz = local->mClass.load();
    if (clazz == nullptr || clazz->mOnTransact == nullptr) return STATUS_UNKNOWN_TRANSACTION;
    in->setPosition(0);
    std::string token;
    if (!in->readString(&token) || token != clazz->mDescriptor) return STATUS_BAD_TYPE;
    return clazz->mOnTransact(local, code, in, out);
}

}  // namespace

AIBinder_Class* AIBinder_Class_define(const char* interfaceDescriptor,
                                      AIBinder_Class_onCreate onCreate,
                                      AIBinder_Class_onDestroy onDestroy,
                                      AIBinder_Class_onTransact onTransact) {
    if (interfaceDescriptor == nullptr) return nullptr;
    // Classes live for the whole process, as on the platform.
    return new (std::nothrow) AIBinder_Class{interfaceDescriptor, onCreate, onDestroy, onTransact};
}

const char* AIBinder_Class_getDescriptor(const AIBinder_Class* clazz) {
    return clazz != nullptr ? clazz->mDescriptor.c_str() : nullptr;
}

AIBinder* AIBinder_new(const AIBinder_Class* clazz, void* args) {
    if (clazz == nullptr) return nullptr;
    void* userData = clazz->mOnCreate != nullptr ? clazz->mOnCreate(args) : args;
    return new (std::nothrow) AIBinder(clazz, userData);
}

bool AIBinder_isRemote(const AIBinder* binder) { return binder != nullptr && binder->isRemote(); }

bool AIBinder_isAlive(const AIBinder* binder) {
    if (binder == nullptr) return false;
    return !binder->isRemote() || binder->mNode->isAlive();
}

binder_status_t AIBinder_ping(AIBinder* binder) {
    if (binder == nullptr) return STATUS_UNEXPECTED_NULL;
    if (!binder->isRemote()) return STATUS_OK;
    binder_status_t status = ServiceRegistry::instance().beginTransaction(binder->mNode->name());
    if (status != STATUS_OK) return status;
    return binder->mNode->isAlive() ? STATUS_OK : STATUS_DEAD_OBJECT;
}

void AIBinder_incStrong(AIBinder* binder) {
    if (binder != nullptr) binder->incStrong();
}

void AIBinder_decStrong(AIBinder* binder) {
    if (binder != nullptr) binder->decStrong();
}

int32_t AIBinder_debugGetRefCount(AIBinder* binder) {
    return binder != nullptr ? binder->mStrong.load() : -1;
}

bool AIBinder_associateClass(AIBinder* binder, const AIBinder_Class* clazz) {
    if (binder == nullptr || clazz == nullptr) return false;
    const AIBinder_Class* current = binder->mClass.load();
    if (current == clazz) return true;
    if (!binder->isRemote()) return false;  // a local object has exactly one class
    if (current != nullptr) return current->mDescriptor == clazz->mDescriptor;
    // First association of a proxy: ask the remote object for its descriptor.
    const AIBinder_Class* remote = remoteClass(binder);
    if (remote == nullptr || remote->mDescriptor != clazz->mDescriptor) return false;
    binder->mClass.compare_exchange_strong(current, clazz);
    return true;
}

const AIBinder_Class* AIBinder_getClass(AIBinder* binder) {
    return binder != nullptr ? binder->mClass.load() : nullptr;
}

void* AIBinder_getUserData(AIBinder* binder) {
    return binder != nullptr && !binder->isRemote() ? binder->mUserData : nullptr;
}

binder_status_t AIBinder_prepareTransaction(AIBinder* binder, AParcel** in) {
    if (binder == nullptr || in == nullptr) return STATUS_UNEXPECTED_NULL;
    const AIBinder_Class* clazz = binder->mClass.load();
    if (clazz == nullptr) return STATUS_INVALID_OPERATION;
    *in = new (std::nothrow) AParcel();
    if (*in == nullptr) return STATUS_NO_MEMORY;
    binder_status_t status = (*in)->writeString(clazz->mDescriptor.c_str(),
                                                static_cast<int32_t>(clazz->mDescriptor.size()));
    if (status != STATUS_OK) {
        delete *in;
        *in = nullptr;
    }
    return status;
}

binder_status_t AIBinder_transact(AIBinder* binder, transaction_code_t code, AParcel** in,
                                  AParcel** out, binder_flags_t flags) {
    if (in == nullptr) return STATUS_UNEXPECTED_NULL;
    ndk::ScopedAParcel request(*in);  // ours from here on, even on errors
    *in = nullptr;
    if (binder == nullptr || out == nullptr || request.get() == nullptr) return STATUS_UNEXPECTED_NULL;
    *out = nullptr;

    ndk::ScopedAParcel reply(new (std::nothrow) AParcel());
    if (reply.get() == nullptr) return STATUS_NO_MEMORY;
    if (!binder->isRemote()) {
        // A local object is called right here, as libbinder_ndk does.
        binder_status_t status = deliver(binder, code, request.get(), reply.get());
        if (status != STATUS_OK) return status;
        if ((flags & FLAG_ONEWAY) != 0) reply.get()->reset();
    } else {
        const std::shared_ptr<BinderNode> node = binder->mNode;
        binder_status_t injected = ServiceRegistry::instance().beginTransaction(node->name());
        if (injected != STATUS_OK) return injected;
        ndk::SpAIBinder local = node->target();
        if (local.get() == nullptr) return STATUS_DEAD_OBJECT;
        localsToProxies(request.get());
        Process& owner = *local.get()->mOwner;
        if ((flags & FLAG_ONEWAY) != 0) {
            // Queued on the owner's pool; the caller does not wait and gets an empty reply.
            auto oneway = std::make_shared<ndk::ScopedAParcel>(request.release());
            Dispatcher::post(owner, PoolKind::BINDER, [node, local, code, oneway] {
                if (!node->isAlive()) return;
                AParcel ignored;
                (void)deliver(local.get(), code, oneway->get(), &ignored);
            });
        } else {
            binder_status_t status = STATUS_OK;
            Dispatcher::call(owner, PoolKind::BINDER, [&] {
                // A call already running finishes; one still queued finds the process gone.
                status = node->isAlive() ? deliver(local.get(), code, request.get(), reply.get())
                                         : STATUS_DEAD_OBJECT;
            });
            if (status != STATUS_OK) return status;
            localsToProxies(reply.get());
        }
    }
    reply.get()->setPosition(0);
    *out = reply.release();
    return STATUS_OK;
}

AIBinder_Weak* AIBinder_Weak_new(AIBinder* binder) {
    if (binder == nullptr) return nullptr;
    return new (std::nothrow) AIBinder_Weak{binder->mAnchor};
}

void AIBinder_Weak_delete(AIBinder_Weak* weakBinder) { delete weakBinder; }

AIBinder* AIBinder_Weak_promote(AIBinder_Weak* weakBinder) {
    return weakBinder != nullptr ? AIBinder::promote(weakBinder->mAnchor) : nullptr;
}

bool AIBinder_lt(const AIBinder* lhs, const AIBinder* rhs) { return lhs < rhs; }
