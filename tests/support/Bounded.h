#pragma once

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>

// Runs calls that would block for ever if the code under test held a lock across a call
// it waits for. Each runs on a thread of its own; a call still running at its deadline is
// a hang, and a hung thread cannot be joined: the process says which call hung and ends,
// so the test fails loudly instead of hanging the suite. The deadlines are generous:
// they are not a measurement.
namespace bounded {

constexpr std::chrono::seconds DEADLINE{30};

// A call started on its own thread; Get() waits for its result up to the deadline.
template <class Result>
class Call {
public:
    template <class Work>
    Call(std::string what, Work&& work) : mWhat(std::move(what)) {
        auto task = std::make_shared<std::packaged_task<Result()>>(std::forward<Work>(work));
        mResult = task->get_future();
        std::thread([task] { (*task)(); }).detach();
    }

    // The call's result; ends the process if it is not there within `limit`.
    Result Get(std::chrono::milliseconds limit = DEADLINE) {
        if (mResult.wait_for(limit) != std::future_status::ready) {
            std::fprintf(stderr, "HANG: %s did not return within %lld ms\n", mWhat.c_str(),
                         static_cast<long long>(limit.count()));
            std::fflush(stderr);
            std::abort();
        }
        return mResult.get();
    }

private:
    std::string mWhat;
    std::future<Result> mResult;
};

template <class Work>
auto Start(std::string what, Work&& work) {
    return Call<decltype(work())>(std::move(what), std::forward<Work>(work));
}

// Runs `work` and returns its result, ending the process if it hangs.
template <class Work>
auto Run(std::string what, Work&& work) {
    return Start(std::move(what), std::forward<Work>(work)).Get();
}

}  // namespace bounded
