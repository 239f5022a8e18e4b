#include "processkit/ProcessTable.h"

#include <map>
#include <memory>
#include <mutex>

namespace hostkit::processkit {

namespace {

class Table {
  public:
    Process& named(const std::string& name) {
        std::lock_guard<std::mutex> lock(mLock);
        std::unique_ptr<Process>& process = mProcesses[name];
        if (process == nullptr) process = std::make_unique<Process>(name);
        return *process;
    }

  private:
    std::mutex mLock;
    std::map<std::string, std::unique_ptr<Process>> mProcesses;
};

Table& table() {
    // Leaked on purpose: pool threads keep serving while static objects are destroyed.
    static Table* instance = new Table();
    return *instance;
}

}  // namespace

Process& ProcessTable::self() {
    static Process& self = table().named(SELF);
    return self;
}

Process& ProcessTable::named(const std::string& name) { return table().named(name); }

}  // namespace hostkit::processkit
