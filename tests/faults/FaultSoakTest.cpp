// Long run of register -> configure -> a few frames -> unregister with random faults from a
// fixed seed, alternating transports: no import, descriptor or thread may accumulate.
// VIRCAM_SOAK_CYCLES (default 1000) sets the number of cycles of both tests together.
#include <gtest/gtest.h>
#include <hostkit/BinderServices.h>
#include <hostkit/HidlServices.h>
#include <hostkit/Mapper.h>

#include <chrono>
#include <cstdlib>
#include <random>
#include <thread>

#include "FaultAidlFixture.h"
#include "FaultHidlFixture.h"
#include "ProcessState.h"

namespace faults {
namespace {

using namespace std::chrono_literals;

int SoakCycles() {
    const char* text = std::getenv("VIRCAM_SOAK_CYCLES");
    const int cycles = text != nullptr ? std::atoi(text) : 1000;
    return cycles > 0 ? cycles : 1000;
}

// The process's threads; one thread is started first, as TSan adds a helper thread of its
// own on the first thread start.
size_t Threads() {
    std::thread([] {}).join();
    // The joined thread may still be listed for a moment: let the count settle first.
    return WaitForThreadCount(0, std::chrono::milliseconds(100));
}

enum class Fault { NONE, HAL_DEATH, MAPPER_DEATH, FAILED_CALL, FAILED_IMPORT };

Fault Draw(std::mt19937& random) {
    switch (std::uniform_int_distribution<int>(0, 7)(random)) {
        case 0: return Fault::HAL_DEATH;
        case 1: return Fault::MAPPER_DEATH;
        case 2: return Fault::FAILED_CALL;
        case 3: return Fault::FAILED_IMPORT;
        default: return Fault::NONE;
    }
}

using FaultSoakHidl = FaultHidlTest;

TEST_F(FaultSoakHidl, HalfTheCyclesWithRandomFaults) {
    std::mt19937 random(20240614u);
    const size_t threads = Threads();
    const int cycles = (SoakCycles() + 1) / 2;
    for (int cycle = 0; cycle < cycles; ++cycle) {
        const Fault fault = Draw(random);
        ASSERT_EQ(0, Register()) << "cycle " << cycle;
        StartSession();
        if (fault == Fault::FAILED_CALL) {
            mRegister->Arm(HidlPoint::NOTIFY_CONFIG_RESULT, HidlFault::FAIL);
            EXPECT_EQ(-1, mWrapper->NotifyConfigStreamResult(UniqueId(), 0));
        }
        if (fault == Fault::FAILED_IMPORT) hostkit::mapper::FailNextCode(hostkit::mapper::Operation::IMPORT, 5);
        if (fault == Fault::HAL_DEATH) mRegister->Arm(HidlPoint::IMAGE_DONE, HidlFault::DIE_AFTER);
        for (uint32_t frame = 0; frame < 3; ++frame) {
            if (fault == Fault::MAPPER_DEATH && frame == 1) {
                ASSERT_TRUE(hostkit::mapper::Kill(4));
                hostkit::hidl::WaitForDeathNotifications();
                ASSERT_TRUE(hostkit::mapper::Restore(4));
            }
            if (!mFramework->SendImageRequest(FakeVideoService::DATA_SESSION_ID, frame)) break;
        }
        if (fault == Fault::HAL_DEATH) {
            ASSERT_TRUE(mSource->WaitForServiceDied(5s)) << "cycle " << cycle;
        }
        (void)mWrapper->UnRegisterCallback(DEVICE, SERVICE);
        mWrapper.reset();
        mFramework.reset();
        hostkit::hidl::WaitForDeathNotifications();
        ASSERT_EQ(fault == Fault::HAL_DEATH ? 1u : 0u, mSource->ServiceDied()) << "cycle " << cycle;
        ASSERT_EQ(0u, hostkit::mapper::LiveImports()) << "cycle " << cycle;
        if (fault == Fault::HAL_DEATH) {
            ASSERT_TRUE(mRegister->Restore());
        }
    }
    EXPECT_EQ(mFdsBefore, OpenFds());
    EXPECT_EQ(threads, WaitForThreadCount(threads, std::chrono::seconds(5)));
}

using FaultSoakAidl = FaultAidlTest;

TEST_F(FaultSoakAidl, HalfTheCyclesWithRandomFaults) {
    std::mt19937 random(20240615u);
    const size_t threads = Threads();
    const int cycles = SoakCycles() / 2;
    size_t deaths = 0;
    for (int cycle = 0; cycle < cycles; ++cycle) {
        Fault fault = Draw(random);
        // Over AIDL a dead mapper's imports stay by design: no mapper death here.
        if (fault == Fault::MAPPER_DEATH) fault = Fault::NONE;
        ASSERT_EQ(0, Register()) << "cycle " << cycle;
        StartSession();
        if (fault == Fault::FAILED_IMPORT) hostkit::mapper::FailNextCode(hostkit::mapper::Operation::IMPORT, 5);
        for (int32_t frame = 0; frame < 3; ++frame) {
            if (fault == Fault::HAL_DEATH && frame == 1) {
                KillAndWait(mRegister);
                ++deaths;
                ASSERT_TRUE(mSource->WaitFor(FakeVideoService::CMD_SERVICE_DIED, deaths, 5s)) << "cycle " << cycle;
            }
            if (fault == Fault::FAILED_CALL && frame == 2) {
                hostkit::binder::FailNextTransactions(mRegister->Name(), 1, STATUS_FAILED_TRANSACTION);
            }
            (void)Frame(frame, 1 + frame % 2);
            const std::string done = "{\"frameNumber\":" + std::to_string(frame) + ",\"streamId\":1,\"bufferId\":" +
                                     std::to_string(1 + frame % 2) + "}";
            (void)mWrapper->SendRequest(20003, UniqueId(), done);
        }
        (void)mFramework->Flush();
        (void)mWrapper->UnRegisterCallback("fault-device", "fault.service");
        mFramework.reset();
        ASSERT_EQ(0u, hostkit::mapper::LiveImports()) << "cycle " << cycle;
        ASSERT_EQ(deaths, mSource->Count(FakeVideoService::CMD_SERVICE_DIED)) << "cycle " << cycle;
        if (fault == Fault::HAL_DEATH) {
            ASSERT_TRUE(mRegister->Restore());
        }
    }
    EXPECT_EQ(mFdsBefore, OpenFds());
    EXPECT_EQ(threads, WaitForThreadCount(threads, std::chrono::seconds(5)));
}

}  // namespace
}  // namespace faults
