// Death recipients and links. Only proxies can die: links on local objects are refused, and
// unlinking from one finds nothing.
#include <new>

#include <android/binder_ibinder.h>

#include "Binder.h"
#include "BinderNode.h"
#include "DeathLink.h"
#include "processkit/Dispatcher.h"

using hostkit::binder::DeathLink;
using hostkit::binder::RecipientState;

AIBinder_DeathRecipient* AIBinder_DeathRecipient_new(AIBinder_DeathRecipient_onBinderDied onBinderDied) {
    if (onBinderDied == nullptr) return nullptr;
    return new (std::nothrow) AIBinder_DeathRecipient{std::make_shared<RecipientState>(onBinderDied)};
}

void AIBinder_DeathRecipient_setOnUnlinked(AIBinder_DeathRecipient* recipient,
                                           AIBinder_DeathRecipient_onBinderUnlinked onUnlinked) {
    if (recipient != nullptr) recipient->mState->setOnUnlinked(onUnlinked);
}

void AIBinder_DeathRecipient_delete(AIBinder_DeathRecipient* recipient) {
    if (recipient == nullptr) return;
    for (const auto& link : recipient->mState->takeLinks()) {
        if (!link->claim()) continue;  // its death is being delivered
        if (auto node = link->node()) node->removeLink(link.get());
        link->deliverUnlinked();
    }
    delete recipient;
}

binder_status_t AIBinder_linkToDeath(AIBinder* binder, AIBinder_DeathRecipient* recipient,
                                     void* cookie) {
    if (binder == nullptr || recipient == nullptr) return STATUS_UNEXPECTED_NULL;
    auto link = std::make_shared<DeathLink>(recipient->mState, cookie,
                                            binder->isRemote() ? binder->mNode : nullptr,
                                            hostkit::processkit::Dispatcher::currentProcess());
    binder_status_t status =
            binder->isRemote() ? binder->mNode->addLink(link) : STATUS_INVALID_OPERATION;
    if (status != STATUS_OK) {
        link->deliverUnlinked();
        return status;
    }
    recipient->mState->addLink(link);
    return STATUS_OK;
}

binder_status_t AIBinder_unlinkToDeath(AIBinder* binder, AIBinder_DeathRecipient* recipient,
                                       void* cookie) {
    if (binder == nullptr || recipient == nullptr) return STATUS_UNEXPECTED_NULL;
    // Local binders never hold links (linking is refused), so there is nothing to find.
    if (!binder->isRemote()) return STATUS_NAME_NOT_FOUND;
    std::shared_ptr<DeathLink> link = binder->mNode->removeLink(recipient->mState.get(), cookie);
    if (link == nullptr || !link->claim()) return STATUS_NAME_NOT_FOUND;
    link->deliverUnlinked();
    return STATUS_OK;
}
