// The per-mode maps the client keeps for the AIDL wrappers: the HAL's clear command and
// a channel death drop only what they concern. Also the channel callback's null reply.

#include <hostkit/LogCapture.h>

#include "AidlClientFixture.h"
#include "wrapper/AidlService.h"

namespace aidlclient {
namespace {

using android::DevStrInfo;

void Fill(AidlVirtualCameraClient& client) {
    android::Mutex::Autolock lock(client.MapsMutex());
    client.GetUserMap()[0] = {DevStrInfo{"devA", "svcA"}};
    client.GetUserMap()[1] = {DevStrInfo{"devB", "svcB"}, DevStrInfo{"devC", "svcC"}};
    client.GetServiceMap()[0] = std::make_shared<android::AidlService>();
    client.GetServiceMap()[1] = std::make_shared<android::AidlService>();
}

std::vector<int> Modes(AidlVirtualCameraClient& client, bool users) {
    android::Mutex::Autolock lock(client.MapsMutex());
    std::vector<int> modes;
    if (users) {
        for (const auto& entry : client.GetUserMap()) modes.push_back(entry.first);
    } else {
        for (const auto& entry : client.GetServiceMap()) modes.push_back(entry.first);
    }
    return modes;
}

TEST_F(AidlClientTest, ClearSwitchServiceDropsOnlyStreamChangeMode) {
    Fill(Client());
    auto framework = vircamsim::SimAidlFramework::Make(mStreamChannel);
    EXPECT_EQ(0, framework->SendCommand(20006, "{}").status);
    EXPECT_EQ(std::vector<int>{1}, Modes(Client(), true));
    EXPECT_EQ(std::vector<int>{1}, Modes(Client(), false));
    HOSTKIT_EXPECT_LOG_LINE(4, CLIENT_TAG, "use map has invalid cache size=1");
    HOSTKIT_EXPECT_LOG_LINE(4, CLIENT_TAG, "service map has invalid cache");
    // Nothing left to clear: no lines.
    Client().ClearSwitchService();
    HOSTKIT_EXPECT_LOG_LINE(4, CLIENT_TAG, "service map has invalid cache");
}

TEST_F(AidlClientTest, BinderDiedClearsOnlyTheDeadUsersModes) {
    Fill(Client());
    Client().BinderDied("devB", "svcB");
    EXPECT_EQ(std::vector<int>{0}, Modes(Client(), true));
    EXPECT_EQ(std::vector<int>{0}, Modes(Client(), false));
    HOSTKIT_EXPECT_LOG_LINE(4, CLIENT_TAG, "BinderDied: delete service mode 1");
    HOSTKIT_EXPECT_LOG_LINE(3, CLIENT_TAG, "BinderDied: set mConnect null");
    // The register channel is looked up again by the next Init.
    EXPECT_EQ(-200014, Client().RegisterVirCamera("d", "s", {}));
    ASSERT_TRUE(Client().Init());
    EXPECT_EQ(0, Client().RegisterVirCamera("d", "s", {}));
    // Matching is exact: a user with the same device but another service stays.
    Client().BinderDied("devA", "svcX");
    EXPECT_EQ(std::vector<int>{0}, Modes(Client(), true));
}

}  // namespace
}  // namespace aidlclient
