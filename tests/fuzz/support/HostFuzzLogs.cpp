#include <hostkit/LogCapture.h>

#include "support/FuzzLogs.h"

void ForgetCapturedLogs() {
    hostkit::logs::Clear();
}
