#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <android/binder_auto_utils.h>

#include "DeathLink.h"

struct BinderAnchor;

namespace hostkit::binder {

// What the proxies of one local object share: the object while it lives, whether it is
// alive, and the death links made on its proxies. name is the service name, or empty.
class BinderNode : public std::enable_shared_from_this<BinderNode> {
  public:
    BinderNode(ndk::SpAIBinder target, std::string name);

    const std::string& name() const { return mName; }
    // The local object, or null once dead.
    ndk::SpAIBinder target() const;
    bool isAlive() const;
    // The one proxy of this node while someone holds it; a new one otherwise.
    ndk::SpAIBinder proxy();

    // STATUS_DEAD_OBJECT once dead.
    binder_status_t addLink(const std::shared_ptr<DeathLink>& link);
    // The matching link, now removed, or null.
    std::shared_ptr<DeathLink> removeLink(const RecipientState* recipient, void* cookie);
    void removeLink(const DeathLink* link);
    size_t linkCount() const;
    // Marks the node dead and hands back its links and its object (to drop outside locks).
    std::vector<std::shared_ptr<DeathLink>> die(ndk::SpAIBinder* target);

  private:
    const std::string mName;
    mutable std::mutex mMutex;  // guards the members below
    ndk::SpAIBinder mTarget;
    bool mAlive = true;
    std::vector<std::shared_ptr<DeathLink>> mLinks;
    std::shared_ptr<BinderAnchor> mProxyAnchor;
};

}  // namespace hostkit::binder
