// Broken stand-ins for a device's mapper.<suffix>.so, one per build: each misses what a loader
// must check before it trusts the library. Built with exactly one of
//   KIT_NO_LOAD_SYMBOL   ANDROID_HAL_STABLEC_VERSION = 5, no AIMapper_loadIMapper
//   KIT_NO_VERSION       AIMapper_loadIMapper, no ANDROID_HAL_STABLEC_VERSION
//   KIT_VERSION_4        ANDROID_HAL_STABLEC_VERSION = 4
//   KIT_LOAD_FAILS       version 5, but AIMapper_loadIMapper answers NO_RESOURCES
#include <android/hardware/graphics/mapper/IMapper.h>

#define KIT_EXPORT extern "C" __attribute__((visibility("default")))

extern "C" {
#if defined(KIT_NO_LOAD_SYMBOL) || defined(KIT_LOAD_FAILS)
__attribute__((visibility("default"))) uint32_t ANDROID_HAL_STABLEC_VERSION = AIMAPPER_VERSION_5;
#elif defined(KIT_VERSION_4)
__attribute__((visibility("default"))) uint32_t ANDROID_HAL_STABLEC_VERSION = 4;
#endif
}

#if !defined(KIT_NO_LOAD_SYMBOL)
KIT_EXPORT AIMapper_Error AIMapper_loadIMapper(AIMapper** outImplementation) {
    if (outImplementation != nullptr) *outImplementation = nullptr;
    return AIMAPPER_ERROR_NO_RESOURCES;
}
#endif
