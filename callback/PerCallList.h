#pragma once

#include <utility>
#include <vector>

namespace android {

// A list that one call fills and hands to the caller. Each call owns its own list, so a
// nested call on the same thread (a HAL call made from inside the caller's callback)
// cannot touch the list an outer call handed out. The storage of finished calls is kept
// per thread and reused, so a steady stream of calls allocates nothing.
template <class T>
class PerCallList {
public:
    PerCallList() {
        std::vector<std::vector<T>>& spare = Spare();
        if (!spare.empty()) {
            mList = std::move(spare.back());
            spare.pop_back();
            mList.clear();  // the caller may have left entries in it
        }
    }
    ~PerCallList() { Spare().push_back(std::move(mList)); }
    PerCallList(const PerCallList&) = delete;
    PerCallList& operator=(const PerCallList&) = delete;

    std::vector<T>& Get() { return mList; }

private:
    static std::vector<std::vector<T>>& Spare() {
        thread_local std::vector<std::vector<T>> spare;
        return spare;
    }

    std::vector<T> mList;
};

}  // namespace android
