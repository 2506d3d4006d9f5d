#pragma once

// A container over a scripted service, for the account "anna", in virtual time.

#include <gmock/gmock.h>

#include "platform/cloudkit/CloudContainer.h"
#include "platform/foundation/SimulatedDispatch.h"
#include "support/ScriptedCloudTransport.h"

namespace zun {

inline CKError errorOf(CKErrorCode code) {
    return {code, "", {}};
}

class CloudFixture : public testing::Test {
  protected:
    CKDatabase& database() { return container.privateCloudDatabase(); }
    void run(CKDatabaseOperationPtr operation) {
        database().addOperation(std::move(operation));
        dispatch.runUntilIdle();
    }
    static CKRecordID idOf(const std::string& name) { return {name, {"Reminders", "__defaultOwner__"}}; }
    static CKRecord record(const std::string& name, const std::string& title = "") {
        CKRecord result;
        result.recordType = "Reminder";
        result.recordID = idOf(name);
        result.setObject("title", CKRecordValue(title));
        return result;
    }

    const CKRecordZoneID zone{"Reminders", "__defaultOwner__"};
    SimulatedDispatch dispatch{1};
    ScriptedCloudTransport transport;
    HeldCloudSession session{CloudSession{"anna", "token-1"}};
    NSNotificationCenter notifications;
    RecordCache cache{""};
    CloudContainer container{{transport, session, dispatch, notifications, cache}};
};

}  // namespace zun
