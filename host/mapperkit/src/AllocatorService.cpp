#include "AllocatorService.h"

#include "StableCOffer.h"

namespace hostkit::mapperkit {

::ndk::ScopedAStatus AllocatorService::getIMapperLibrarySuffix(std::string* suffix) {
    *suffix = StableCOffer::Suffix();
    return ::ndk::ScopedAStatus::ok();
}

}  // namespace hostkit::mapperkit
