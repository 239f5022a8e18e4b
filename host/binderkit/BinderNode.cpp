#include "BinderNode.h"

#include <algorithm>

#include "Binder.h"

namespace hostkit::binder {

BinderNode::BinderNode(ndk::SpAIBinder target, std::string name)
    : mName(std::move(name)), mTarget(std::move(target)) {}

ndk::SpAIBinder BinderNode::target() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mTarget;
}

bool BinderNode::isAlive() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mAlive;
}

ndk::SpAIBinder BinderNode::proxy() {
    std::lock_guard<std::mutex> lock(mMutex);
    ndk::SpAIBinder existing(AIBinder::promote(mProxyAnchor));
    if (existing.get() != nullptr) return existing;
    auto* fresh = new AIBinder(shared_from_this());
    mProxyAnchor = fresh->mAnchor;
    return ndk::SpAIBinder(fresh);
}

binder_status_t BinderNode::addLink(const std::shared_ptr<DeathLink>& link) {
    std::lock_guard<std::mutex> lock(mMutex);
    if (!mAlive) return STATUS_DEAD_OBJECT;
    mLinks.push_back(link);
    return STATUS_OK;
}

std::shared_ptr<DeathLink> BinderNode::removeLink(const RecipientState* recipient, void* cookie) {
    std::lock_guard<std::mutex> lock(mMutex);
    auto it = std::find_if(mLinks.begin(), mLinks.end(),
                           [&](const auto& link) { return link->matches(recipient, cookie); });
    if (it == mLinks.end()) return nullptr;
    std::shared_ptr<DeathLink> link = *it;
    mLinks.erase(it);
    return link;
}

void BinderNode::removeLink(const DeathLink* link) {
    std::lock_guard<std::mutex> lock(mMutex);
    mLinks.erase(std::remove_if(mLinks.begin(), mLinks.end(),
                                [&](const auto& l) { return l.get() == link; }),
                 mLinks.end());
}

size_t BinderNode::linkCount() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mLinks.size();
}

std::vector<std::shared_ptr<DeathLink>> BinderNode::die(ndk::SpAIBinder* target) {
    std::lock_guard<std::mutex> lock(mMutex);
    mAlive = false;
    *target = std::move(mTarget);
    std::vector<std::shared_ptr<DeathLink>> links;
    links.swap(mLinks);
    return links;
}

}  // namespace hostkit::binder

