#include "DeathLink.h"

#include <algorithm>

namespace hostkit::binder {

void RecipientState::setOnUnlinked(AIBinder_DeathRecipient_onBinderUnlinked onUnlinked) {
    std::lock_guard<std::mutex> lock(mMutex);
    mOnUnlinked = onUnlinked;
}

AIBinder_DeathRecipient_onBinderUnlinked RecipientState::onUnlinked() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mOnUnlinked;
}

void RecipientState::addLink(const std::shared_ptr<DeathLink>& link) {
    std::lock_guard<std::mutex> lock(mMutex);
    // Drop links that ended, so a long-lived recipient does not grow without bound.
    mLinks.erase(std::remove_if(mLinks.begin(), mLinks.end(),
                                [](const std::weak_ptr<DeathLink>& l) { return l.expired(); }),
                 mLinks.end());
    mLinks.push_back(link);
}

std::vector<std::shared_ptr<DeathLink>> RecipientState::takeLinks() {
    std::vector<std::weak_ptr<DeathLink>> links;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        links.swap(mLinks);
    }
    std::vector<std::shared_ptr<DeathLink>> alive;
    for (const auto& weak : links) {
        if (auto link = weak.lock()) alive.push_back(std::move(link));
    }
    return alive;
}

DeathLink::DeathLink(std::shared_ptr<RecipientState> recipient, void* cookie,
                     std::weak_ptr<BinderNode> node, processkit::Process& linker)
    : mRecipient(std::move(recipient)), mCookie(cookie), mNode(std::move(node)), mLinker(linker) {}

bool DeathLink::matches(const RecipientState* recipient, void* cookie) const {
    return mRecipient.get() == recipient && mCookie == cookie;
}

bool DeathLink::claim() {
    std::lock_guard<std::mutex> lock(mMutex);
    if (mClaimed) return false;
    mClaimed = true;
    return true;
}

void DeathLink::deliverDeath() const {
    mRecipient->onDied()(mCookie);
    deliverUnlinked();
}

void DeathLink::deliverUnlinked() const {
    AIBinder_DeathRecipient_onBinderUnlinked onUnlinked = mRecipient->onUnlinked();
    if (onUnlinked != nullptr) onUnlinked(mCookie);
}

}  // namespace hostkit::binder
