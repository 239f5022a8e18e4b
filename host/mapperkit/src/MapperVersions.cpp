#include "MapperVersions.h"

#include <android/hardware/graphics/mapper/2.0/IMapper.h>
#include <android/hardware/graphics/mapper/3.0/IMapper.h>
#include <android/hardware/graphics/mapper/4.0/IMapper.h>
#include <hidl/HidlTransportSupport.h>
#include <hostkit/HidlServices.h>
#include <hostkit/Process.h>

#include "MapperService.h"

namespace hostkit::mapperkit {

namespace mapper2 = ::android::hardware::graphics::mapper::V2_0;
namespace mapper3 = ::android::hardware::graphics::mapper::V3_0;
namespace mapper4 = ::android::hardware::graphics::mapper::V4_0;

namespace {

constexpr const char* INSTANCE = "default";
constexpr const char* MAPPER_PROCESS = "android.hardware.graphics.mapper";
constexpr size_t MAPPER_THREADS = 2;

template <typename IMapperT, typename ErrorT>
bool RegisterService(mapper::Transport transport) {
    ::android::sp<IMapperT> service = new MapperService<IMapperT, ErrorT>();
    if (transport == mapper::Transport::PASSTHROUGH) {
        return hidl::RegisterPassthrough(IMapperT::descriptor, INSTANCE, service) == ::android::OK;
    }
    // A binderized mapper is a HAL process of its own, with its own hwbinder pool.
    hidl::Declare(IMapperT::descriptor, INSTANCE);
    process::As mapperProcess(MAPPER_PROCESS);
    ::android::hardware::configureRpcThreadpool(MAPPER_THREADS, true);
    return service->registerAsService(INSTANCE) == ::android::OK;
}

}  // namespace

const char* MapperVersions::Descriptor(int version) {
    switch (version) {
        case 2: return mapper2::IMapper::descriptor;
        case 3: return mapper3::IMapper::descriptor;
        case 4: return mapper4::IMapper::descriptor;
        default: return nullptr;
    }
}

bool MapperVersions::Register(int version, mapper::Transport transport) {
    switch (version) {
        case 2: return RegisterService<mapper2::IMapper, mapper2::Error>(transport);
        case 3: return RegisterService<mapper3::IMapper, mapper3::Error>(transport);
        case 4: return RegisterService<mapper4::IMapper, mapper4::Error>(transport);
        default: return false;
    }
}

}  // namespace hostkit::mapperkit
