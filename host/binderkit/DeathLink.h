#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include <android/binder_ibinder.h>

namespace hostkit::processkit {
class Process;
}

namespace hostkit::binder {

class BinderNode;
class DeathLink;

// The callbacks of one AIBinder_DeathRecipient and the links made with it.
class RecipientState {
  public:
    explicit RecipientState(AIBinder_DeathRecipient_onBinderDied onDied) : mOnDied(onDied) {}

    void setOnUnlinked(AIBinder_DeathRecipient_onBinderUnlinked onUnlinked);
    AIBinder_DeathRecipient_onBinderUnlinked onUnlinked() const;
    AIBinder_DeathRecipient_onBinderDied onDied() const { return mOnDied; }
    void addLink(const std::shared_ptr<DeathLink>& link);
    // Every link still recorded; the recipient forgets them.
    std::vector<std::shared_ptr<DeathLink>> takeLinks();

  private:
    const AIBinder_DeathRecipient_onBinderDied mOnDied;
    mutable std::mutex mMutex;  // guards the members below
    AIBinder_DeathRecipient_onBinderUnlinked mOnUnlinked = nullptr;
    std::vector<std::weak_ptr<DeathLink>> mLinks;
};

// One successful linkToDeath. Whoever claims it first (death, unlink or recipient delete)
// owns the single onUnlinked call; death also runs onBinderDied before it.
class DeathLink {
  public:
    // `linker` is the process that linked: the notice runs on its binder pool.
    DeathLink(std::shared_ptr<RecipientState> recipient, void* cookie,
              std::weak_ptr<BinderNode> node, processkit::Process& linker);

    bool matches(const RecipientState* recipient, void* cookie) const;
    // True for exactly one caller.
    bool claim();
    void deliverDeath() const;
    void deliverUnlinked() const;
    std::shared_ptr<BinderNode> node() const { return mNode.lock(); }
    processkit::Process& linker() const { return mLinker; }

  private:
    const std::shared_ptr<RecipientState> mRecipient;
    void* const mCookie;
    const std::weak_ptr<BinderNode> mNode;
    processkit::Process& mLinker;
    std::mutex mMutex;  // guards mClaimed
    bool mClaimed = false;
};

}  // namespace hostkit::binder

// The handle behind AIBinder_DeathRecipient*.
struct AIBinder_DeathRecipient {
    std::shared_ptr<hostkit::binder::RecipientState> mState;
};
