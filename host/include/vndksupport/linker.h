#pragma once

// libvndksupport: loads a same-process HAL (sphal) into the linker namespace meant for it.

#ifdef __cplusplus
extern "C" {
#endif

// As dlopen(name, flag), in the sphal namespace when the caller is not a plain vendor process.
void* android_load_sphal_library(const char* name, int flag);
// As dlclose(handle).
int android_unload_sphal_library(void* handle);

#ifdef __cplusplus
}
#endif
