#include "callback/StableCMapperLoader.h"

#include <dlfcn.h>

#include <map>

#include <aidl/android/hardware/graphics/allocator/IAllocator.h>
#include <android-base/no_destructor.h>
#include <android-base/thread_annotations.h>
#include <android/binder_manager.h>
#include <utils/Mutex.h>
#include <vndksupport/linker.h>

#include "common/InstanceNames.h"

namespace android {

namespace {

using aidl::android::hardware::graphics::allocator::IAllocator;

constexpr const char* HW_DIR = "/vendor/lib64/hw/";
constexpr uint32_t MIN_VERSION = AIMAPPER_VERSION_5;

using LoadIMapper = AIMapper_Error (*)(AIMapper** outImplementation);

// Tables by library path. Never destroyed: the libraries are never unloaded either.
class LoadedTables {
public:
    static LoadedTables& Get() {
        static base::NoDestructor<LoadedTables> tables;
        return *tables;
    }
    const AIMapper* Find(const std::string& path) EXCLUDES(mMutex) {
        Mutex::Autolock lock(mMutex);
        auto it = mTables.find(path);
        return it != mTables.end() ? it->second : nullptr;
    }
    // Keeps the first table stored for a path (a concurrent load finds the same one).
    const AIMapper* Add(const std::string& path, const AIMapper* table) EXCLUDES(mMutex) {
        Mutex::Autolock lock(mMutex);
        return mTables.emplace(path, table).first->second;
    }

private:
    Mutex mMutex;
    std::map<std::string, const AIMapper*> mTables GUARDED_BY(mMutex);
};

bool AskSuffix(std::string& suffix, std::string& missing) {
    const std::string name = AidlServiceName(IAllocator::descriptor, DEFAULT_INSTANCE);
    if (!AServiceManager_isDeclared(name.c_str())) {
        missing = name + " is not declared";
        return false;
    }
    // Declared: it will come up, as platform code waits for it too.
    ndk::SpAIBinder binder(AServiceManager_waitForService(name.c_str()));
    std::shared_ptr<IAllocator> allocator = IAllocator::fromBinder(binder);
    if (allocator == nullptr) {
        missing = name + " is declared but could not be reached";
        return false;
    }
    ndk::ScopedAStatus status = allocator->getIMapperLibrarySuffix(&suffix);
    if (!status.isOk()) {
        missing = name + " getIMapperLibrarySuffix failed: " + status.getDescription();
        return false;
    }
    return true;
}

const AIMapper* OpenTable(void* library, const std::string& path, std::string& missing) {
    const auto* version = static_cast<const uint32_t*>(dlsym(library, "ANDROID_HAL_STABLEC_VERSION"));
    if (version == nullptr) {
        missing = path + " does not export ANDROID_HAL_STABLEC_VERSION";
        return nullptr;
    }
    if (*version < MIN_VERSION) {
        missing = path + " has ANDROID_HAL_STABLEC_VERSION " + std::to_string(*version) + ", at least " +
                  std::to_string(MIN_VERSION) + " is needed";
        return nullptr;
    }
    auto load = reinterpret_cast<LoadIMapper>(dlsym(library, "AIMapper_loadIMapper"));
    if (load == nullptr) {
        missing = path + " does not export AIMapper_loadIMapper";
        return nullptr;
    }
    AIMapper* table = nullptr;
    const AIMapper_Error error = load(&table);
    if (error != AIMAPPER_ERROR_NONE || table == nullptr) {
        missing = path + " AIMapper_loadIMapper failed: error " + std::to_string(static_cast<int32_t>(error));
        return nullptr;
    }
    if (table->version < MIN_VERSION) {
        missing = path + " AIMapper_loadIMapper gave version " + std::to_string(table->version);
        return nullptr;
    }
    return table;
}

const AIMapper* OpenLibrary(const std::string& path, std::string& missing) {
    // Not plain dlopen: libvndksupport is what the platform's own mapper 5 loader uses. It
    // loads into the same-process HAL namespace when this process is not a plain vendor
    // process (and on the host the kit maps the vendor hw folder to its own).
    void* library = android_load_sphal_library(path.c_str(), RTLD_LOCAL | RTLD_NOW);
    if (library == nullptr) {
        const char* why = dlerror();
        missing = path + " could not be opened: " + (why != nullptr ? why : "unknown error");
        return nullptr;
    }
    const AIMapper* table = OpenTable(library, path, missing);
    if (table == nullptr) {
        android_unload_sphal_library(library);
    }
    return table;
}

}  // namespace

const AIMapper* StableCMapperLoader::Load(std::string& missing) {
    std::string suffix;
    if (!AskSuffix(suffix, missing)) {
        return nullptr;
    }
    const std::string path = std::string(HW_DIR) + "mapper." + suffix + ".so";
    if (const AIMapper* table = LoadedTables::Get().Find(path)) {
        return table;
    }
    const AIMapper* table = OpenLibrary(path, missing);
    return table != nullptr ? LoadedTables::Get().Add(path, table) : nullptr;
}

}  // namespace android
