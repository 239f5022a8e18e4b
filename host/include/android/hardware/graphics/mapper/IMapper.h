#pragma once

// The stable-C graphics mapper (version 5) as Android 14 declares it: a table of function
// pointers that a vendor shared object, /vendor/lib64/hw/mapper.<suffix>.so, hands out through
// AIMapper_loadIMapper. Header library libimapper_stablec on a device.

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#include <android/rect.h>
#include <cutils/native_handle.h>

#ifndef __cplusplus
#include <stdalign.h>
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef enum AIMapper_Version : uint32_t {
    AIMAPPER_VERSION_5 = 5,
} AIMapper_Version;

typedef enum AIMapper_Error : int32_t {
    AIMAPPER_ERROR_NONE = 0,
    AIMAPPER_ERROR_BAD_DESCRIPTOR = 1,
    AIMAPPER_ERROR_BAD_BUFFER = 2,
    AIMAPPER_ERROR_BAD_VALUE = 3,
    AIMAPPER_ERROR_NO_RESOURCES = 5,
    AIMAPPER_ERROR_UNSUPPORTED = 7,
} AIMapper_Error;

typedef struct AIMapper_MetadataType {
    const char* name;
    int64_t value;
} AIMapper_MetadataType;

typedef struct AIMapper_MetadataTypeDescription {
    AIMapper_MetadataType metadataType;
    const char* description;
    bool isGettable;
    bool isSettable;
    uint8_t reserved[32];
} AIMapper_MetadataTypeDescription;

typedef void (*AIMapper_DumpBufferCallback)(void* context, AIMapper_MetadataType metadataType,
                                            const void* value, size_t valueSize);
typedef void (*AIMapper_BeginDumpBufferCallback)(void* context);

typedef struct AIMapperV5 {
    AIMapper_Error (*importBuffer)(const native_handle_t* handle, buffer_handle_t* outBufferHandle);
    AIMapper_Error (*freeBuffer)(buffer_handle_t buffer);
    AIMapper_Error (*getTransportSize)(buffer_handle_t buffer, uint32_t* outNumFds, uint32_t* outNumInts);
    // Takes ownership of acquireFence (-1 for none), also on failure.
    AIMapper_Error (*lock)(buffer_handle_t buffer, uint64_t cpuUsage, ARect accessRegion, int acquireFence,
                           void** outData);
    // *releaseFence (-1 for none) belongs to the caller.
    AIMapper_Error (*unlock)(buffer_handle_t buffer, int* releaseFence);
    AIMapper_Error (*flushLockedBuffer)(buffer_handle_t buffer);
    AIMapper_Error (*rereadLockedBuffer)(buffer_handle_t buffer);
    int32_t (*getMetadata)(buffer_handle_t buffer, AIMapper_MetadataType metadataType, void* destBuffer,
                           size_t destBufferSize);
    int32_t (*getStandardMetadata)(buffer_handle_t buffer, int64_t standardMetadataType, void* destBuffer,
                                   size_t destBufferSize);
    AIMapper_Error (*setMetadata)(buffer_handle_t buffer, AIMapper_MetadataType metadataType,
                                  const void* metadata, size_t metadataSize);
    AIMapper_Error (*setStandardMetadata)(buffer_handle_t buffer, int64_t standardMetadataType,
                                          const void* metadata, size_t metadataSize);
    AIMapper_Error (*listSupportedMetadataTypes)(const AIMapper_MetadataTypeDescription** outDescriptionList,
                                                 size_t* outNumberOfDescriptions);
    AIMapper_Error (*dumpBuffer)(buffer_handle_t buffer, AIMapper_DumpBufferCallback dumpBufferCallback,
                                 void* context);
    AIMapper_Error (*dumpAllBuffers)(AIMapper_BeginDumpBufferCallback beginDumpCallback,
                                     AIMapper_DumpBufferCallback dumpBufferCallback, void* context);
    AIMapper_Error (*getReservedRegion)(buffer_handle_t buffer, void** outReservedRegion,
                                        uint64_t* outReservedSize);
} AIMapperV5;

typedef struct AIMapper {
    alignas(alignof(max_align_t)) AIMapper_Version version;
    AIMapperV5 v5;
} AIMapper;

// Exported by the implementation's shared object (looked up with dlsym, not linked).
AIMapper_Error AIMapper_loadIMapper(AIMapper** outImplementation);

#ifdef __cplusplus
}
#endif
