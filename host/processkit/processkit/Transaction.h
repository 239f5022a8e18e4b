#pragma once

#include <functional>

namespace hostkit::processkit {

class Process;
class ThreadContext;

// One call into a process, from the moment it is sent until its caller has the reply. A
// two-way transaction lives on its caller's stack; a oneway one belongs to whoever holds it.
struct Transaction {
    std::function<void()> work;
    Process* target = nullptr;
    // The process and thread that sent it and wait for the reply; null for a oneway call.
    Process* from = nullptr;
    ThreadContext* caller = nullptr;
    // The call its caller was serving when it sent this one: the chain of waiting threads
    // a nested call goes back along.
    const Transaction* parent = nullptr;
    bool done = false;  // guarded by the caller's lock
};

}  // namespace hostkit::processkit
