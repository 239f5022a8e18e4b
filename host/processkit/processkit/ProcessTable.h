#pragma once

#include <string>

#include "processkit/Process.h"

namespace hostkit::processkit {

// Every process the kit models, by name. Processes are never destroyed: their pool threads
// run until the program ends.
class ProcessTable {
  public:
    static constexpr const char* SELF = "self";

    // The process of the library, the test and the demo: every thread's unless told otherwise.
    static Process& self();
    // The process called `name`, created on first use.
    static Process& named(const std::string& name);
};

}  // namespace hostkit::processkit
