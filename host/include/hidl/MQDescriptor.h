#pragma once

// Fast message queues are not used on the host; the generated headers only
// include this file.
#include <hidl/HidlSupport.h>
