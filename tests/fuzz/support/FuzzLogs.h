#pragma once

// Forgets the log lines one input produced, so a long run does not grow. On the host the
// kit's log capture keeps every line; on a phone the lines went to logd and nothing is kept.
void ForgetCapturedLogs();
