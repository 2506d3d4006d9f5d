#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sync/SyncWorld.h"

namespace zun {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Errors, AreSortedByTheirCode) {
    struct Case {
        ZNCloudKitErrorType type;
        std::vector<int> codes;
        bool isLogged = false;
    };
    using enum ZNCloudKitErrorType;
    for (const auto& each : {
             Case{Unhandled, {-1, 0, 1, 10, 12, 15, 29, 1'000}},
             Case{Unhandled, {5, 8, 13, 16, 17, 18, 19, 20, 22, 24, 25, 26, 28}, true},
             Case{PartialFailure, {2}},
             Case{Unreachable, {3, 4}},
             Case{Retry, {6, 7, 23, 27}},
             Case{NotAuthenticated, {9}},
             Case{UnknownItem, {11}},
             Case{ServerRecordChanged, {14}},
             Case{ChangeTokenExpired, {21}},
         }) {
        for (const int code : each.codes) {
            std::vector<std::string> lines;
            const ScopedLogSink sink([&](std::string_view line) { lines.emplace_back(line); });
            EXPECT_EQ(ZNCloudKitErrorHandler::handleError(CKError{CKErrorCode{code}, "", {}}), each.type) << code;
            const auto line = "Error syncing with iCloud: Error code " + std::to_string(code);
            EXPECT_EQ(lines, each.isLogged ? std::vector{line} : std::vector<std::string>()) << code;
        }
    }
    EXPECT_EQ(ZNCloudKitErrorHandler::handleError(std::nullopt), None);
}

TEST(Errors, OfAPassAreToldByTheirClass) {
    struct Case {
        int code;
        std::vector<std::string> told;
    };
    for (const auto& each : {
             Case{25, {"FatalError", "Error", "Finished"}},
             Case{4, {"UnreachableError", "Finished"}},
             Case{9, {"Finished"}},
             Case{7, {"Finished"}},
             Case{11, {"Finished"}},
         }) {
        SyncWorld world;
        world.fail("zones", CKErrorCode{each.code});
        world.sync();
        EXPECT_EQ(world.told, each.told) << each.code;
        EXPECT_EQ(world.defaults.onGetLastSyncDate(), std::nullopt) << each.code;
        EXPECT_FALSE(world.cloud->isSyncing());
        // Only that pass was not clean.
        world.sync();
        EXPECT_THAT(world.told, ElementsAre("Finished"));
        EXPECT_EQ(world.defaults.onGetLastSyncDate(), world.environment.now());
    }
}

TEST(Errors, OfTheConnectionStopAPassBeforeItBegins) {
    SyncWorld world({.isConnected = false});
    std::vector<bool> seen;
    const auto observation =
        world.cloud->observe({"isSyncing"}, [&](std::string_view) { seen.push_back(world.cloud->isSyncing()); });
    EXPECT_THAT(world.sync(), IsEmpty());
    EXPECT_THAT(world.told, ElementsAre("UnreachableError"));
    EXPECT_THAT(seen, ElementsAre(true, false));
    // The first report starts a pass, and so does each change to another way.
    world.reachability.report(NetworkStatus::ReachableViaWWAN);
    world.settle();
    EXPECT_THAT(world.told, ElementsAre("UnreachableError", "Finished"));
    for (const auto& [status, expected] :
         std::vector<std::pair<NetworkStatus, int>>{{NetworkStatus::ReachableViaWWAN, 0},
                                                    {NetworkStatus::NotReachable, 0},
                                                    {NetworkStatus::ReachableViaWiFi, 1},
                                                    {NetworkStatus::ReachableViaWWAN, 1}}) {
        world.told.clear();
        world.reachability.report(status);
        world.settle();
        EXPECT_EQ(std::ranges::count(world.told, "Finished"), expected);
    }
}

}  // namespace
}  // namespace zun
