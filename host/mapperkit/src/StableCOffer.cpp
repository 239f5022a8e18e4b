#include "StableCOffer.h"

#include <mutex>

#include <android/binder_manager.h>
#include <hostkit/BinderServices.h>
#include <hostkit/Mapper.h>

#include "AllocatorService.h"

namespace hostkit::mapperkit {

namespace {

std::mutex gLock;
std::string gSuffix = mapper::SUFFIX;

}  // namespace

bool StableCOffer::Offer() {
    if (IsOffered()) {
        return true;
    }
    binder::Declare(mapper::ALLOCATOR_INSTANCE);
    auto service = ::ndk::SharedRefBase::make<AllocatorService>();
    return AServiceManager_addService(service->asBinder().get(), mapper::ALLOCATOR_INSTANCE) == EX_NONE;
}

void StableCOffer::Withdraw() {
    binder::Kill(mapper::ALLOCATOR_INSTANCE);
    binder::Undeclare(mapper::ALLOCATOR_INSTANCE);
}

bool StableCOffer::IsOffered() {
    ::ndk::SpAIBinder binder(AServiceManager_checkService(mapper::ALLOCATOR_INSTANCE));
    return binder.get() != nullptr;
}

std::string StableCOffer::Suffix() {
    std::lock_guard<std::mutex> guard(gLock);
    return gSuffix;
}

void StableCOffer::SetSuffix(const std::string& suffix) {
    std::lock_guard<std::mutex> guard(gLock);
    gSuffix = suffix;
}

}  // namespace hostkit::mapperkit
