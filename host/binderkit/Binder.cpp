#include "Binder.h"

#include "BinderNode.h"
#include "processkit/Dispatcher.h"

AIBinder::AIBinder(const AIBinder_Class* clazz, void* userData)
    : mClass(clazz),
      mUserData(userData),
      mOwner(&hostkit::processkit::Dispatcher::currentProcess()),
      mAnchor(std::make_shared<BinderAnchor>()) {
    mAnchor->mBinder = this;
}

AIBinder::AIBinder(std::shared_ptr<hostkit::binder::BinderNode> node)
    : mClass(nullptr), mUserData(nullptr), mOwner(nullptr), mNode(std::move(node)),
      mAnchor(std::make_shared<BinderAnchor>()) {
    mAnchor->mBinder = this;
}

void AIBinder::incStrong() { mStrong.fetch_add(1); }

void AIBinder::decStrong() {
    {
        // Under the anchor lock so that a concurrent promote never revives a dying binder.
        std::lock_guard<std::mutex> lock(mAnchor->mMutex);
        if (mStrong.fetch_sub(1) != 1) return;
        mAnchor->mBinder = nullptr;
    }
    const AIBinder_Class* clazz = mClass.load();
    if (!isRemote() && clazz != nullptr && clazz->mOnDestroy != nullptr) clazz->mOnDestroy(mUserData);
    delete this;
}

AIBinder* AIBinder::promote(const std::shared_ptr<BinderAnchor>& anchor) {
    if (anchor == nullptr) return nullptr;
    std::lock_guard<std::mutex> lock(anchor->mMutex);
    if (anchor->mBinder == nullptr) return nullptr;
    anchor->mBinder->mStrong.fetch_add(1);
    return anchor->mBinder;
}
