// Compiled twice by CompileCheck.cmake: as it is it must compile; with FORBIDDEN defined it
// must not, because std::make_shared of a SharedRefBase subclass does not compile on a device.
#include <android/binder_interface_utils.h>

#include <memory>

class Service : public ndk::SharedRefBase {
  public:
    explicit Service(int value) : mValue(value) {}
    int value() const { return mValue; }

  private:
    int mValue;
};

struct Plain {
    int value;
};

int main() {
    // make_shared stays usable for every other type.
    std::shared_ptr<Plain> plain = std::make_shared<Plain>(Plain{1});
#ifdef FORBIDDEN
    std::shared_ptr<Service> service = std::make_shared<Service>(2);
#else
    std::shared_ptr<Service> service = ndk::SharedRefBase::make<Service>(2);
#endif
    return service->value() + plain->value == 3 ? 0 : 1;
}
