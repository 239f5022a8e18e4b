#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include <android/binder_ibinder.h>

namespace hostkit::binder {
class BinderNode;
}
namespace hostkit::processkit {
class Process;
}

struct AIBinder_Class {
    std::string mDescriptor;
    AIBinder_Class_onCreate mOnCreate;
    AIBinder_Class_onDestroy mOnDestroy;
    AIBinder_Class_onTransact mOnTransact;
};

// Shared by a binder and its weak references: cleared when the last strong reference goes.
struct BinderAnchor {
    std::mutex mMutex;  // guards mBinder and the binder's last decrement
    AIBinder* mBinder;
};

struct AIBinder_Weak {
    std::shared_ptr<BinderAnchor> mAnchor;
};

// A local object (class and user data) or a proxy (a node of the remote object). Counted by
// strong references; the first one belongs to whoever created it.
struct AIBinder {
    AIBinder(const AIBinder_Class* clazz, void* userData);
    explicit AIBinder(std::shared_ptr<hostkit::binder::BinderNode> node);

    void incStrong();
    // Destroys the binder (and runs the class's onDestroy) when the last reference goes.
    void decStrong();
    // A new strong reference through the anchor, or null once the binder is gone.
    static AIBinder* promote(const std::shared_ptr<BinderAnchor>& anchor);

    bool isRemote() const { return mNode != nullptr; }

    std::atomic<const AIBinder_Class*> mClass;
    void* const mUserData;
    // A local object belongs to the process that created it: calls into it run on that
    // process's binder threads. Null for proxies.
    hostkit::processkit::Process* const mOwner;
    const std::shared_ptr<hostkit::binder::BinderNode> mNode;  // null for local binders
    std::atomic<int32_t> mStrong{1};
    const std::shared_ptr<BinderAnchor> mAnchor;
};
