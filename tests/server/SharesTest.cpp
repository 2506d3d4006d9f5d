// Shares: who sees what, who may change it, and how it ends.

#include <gmock/gmock.h>

#include "server/model/Administration.h"
#include "server/model/Secrets.h"
#include "support/ServiceWorld.h"

namespace zun::cloud {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using Permission = CKShareParticipantPermission;
using Status = CKShareParticipantAcceptanceStatus;

constexpr auto shared = DatabaseScope::Shared;

std::vector<std::string> names(const ZoneChanges::Zone& zone) {
    std::vector<std::string> names;
    for (const auto& record : zone.changed)
        names.push_back(record.recordID.recordName);
    for (const auto& deleted : zone.deleted)
        names.push_back("-" + deleted.recordID.recordName);
    return names;
}

class Shares : public testing::Test {
  protected:
    Shares() : anna(world, "anna", "anna@example.org"), bert(world, "bert", "bert@example.org"), cleo(world, "cleo") {
        anna.makeZone();
        (void)anna.save({makeRecord("private", "not shared"), makeRecord("r", "Milk"), makeRecord("q", "Eggs")});
    }
    ~Shares() override {
        Administration administration(*world.storage, world.environment, world.random, world.options.passwordCost);
        EXPECT_THAT(administration.check().complaints, IsEmpty());
    }
    // Shares a record of Anna's and returns the share as it was saved.
    SavedRecord share(const std::string& root, Permission forAll,
                      std::vector<CKShareParticipant> participants = {}) const {
        CKRecord record;
        record.recordType = CKRecordTypeShare;
        record.recordID = {"share of " + root, remindersZone};
        record.shareDetails = CKShareDetails{{root, remindersZone}, {}, forAll, std::move(participants)};
        const auto saved = anna.save({record}, SavePolicy::AllKeys);
        EXPECT_THAT(saved.failed, IsEmpty());
        return saved.saved.at(0);
    }
    static CKShareParticipant invited(std::string email, Permission permission) {
        CKShareParticipant participant;
        participant.userIdentity.emailAddress = std::move(email);
        participant.permission = permission;
        return participant;
    }
    [[nodiscard]] AcceptedShares accept(const TestDevice& device, const std::string& URL) const {
        return device.ask<AcceptedShares>(AcceptShares{{URL}});
    }
    [[nodiscard]] CKRecordID seen(std::string name) const { return {std::move(name), annasZone()}; }
    [[nodiscard]] CKRecordZoneID annasZone() const { return {"Reminders", anna.accountID}; }

    ServiceWorld world;
    TestDevice anna, bert, cleo;
};

TEST_F(Shares, ShowAParticipantWhatWasSharedAndNothingElse) {
    const auto saved = share("r", Permission::None, {invited("bert@example.org", Permission::ReadWrite)});
    const auto& URL = saved.shareDetails->URL;
    ASSERT_EQ(saved.shareDetails->participants.size(), 2U);
    EXPECT_EQ(saved.shareDetails->participants[0].userIdentity.userRecordName, anna.accountID);
    EXPECT_EQ(anna.fetch({{"r", remindersZone}}).records.at(0).share->recordID, saved.recordID);

    const auto known = bert.ask<ShareMetadataAnswer>(FetchShareMetadata{{URL}, true}).items.at(0).metadata;
    ASSERT_TRUE(known);
    EXPECT_EQ(known->rootRecordID, seen("r"));
    EXPECT_EQ(known->share.recordID, seen("share of r"));
    EXPECT_EQ(known->participantStatus, Status::Pending);
    EXPECT_EQ(*known->rootRecord->get<std::string>("title"), "Milk");
    EXPECT_EQ(known->ownerIdentity.displayName, "anna");

    EXPECT_THAT(accept(bert, URL).failed, IsEmpty());
    EXPECT_THAT(accept(bert, URL).failed, IsEmpty()) << "a second time changes nothing";
    EXPECT_THAT(bert.ask<Zones>(FetchZones{shared}).zones, ElementsAre(annasZone()));
    EXPECT_THAT(bert.ask<DatabaseChanges>(FetchDatabaseChanges{shared, {}}).changed, ElementsAre(annasZone()));
    const auto feed = bert.changes(std::nullopt, shared, annasZone());
    EXPECT_THAT(names(feed), UnorderedElementsAre("r", "share of r"));
    for (const auto& record : feed.changed)
        EXPECT_EQ(record.recordID.zoneID, annasZone());
    const auto fetched = bert.fetch({seen("r"), seen("private"), seen("share of r")}, shared);
    EXPECT_EQ(fetched.records.size(), 2U);
    EXPECT_EQ(fetched.failed.at(seen("private")).code, CKErrorCode::UnknownItem);
    EXPECT_EQ(fetched.records.at(0).share->recordID, seen("share of r"));
    const auto found = bert.ask<QueriedRecords>(QueryRecords{shared, annasZone(), "Reminder", {}});
    EXPECT_EQ(found.records.size(), 1U);
    EXPECT_THAT(accept(cleo, URL).failed, testing::SizeIs(1)) << "not invited";
}

TEST_F(Shares, TellNothingOfTheRestByTheirPages) {
    (void)anna.save({makeRecord("a", "before all"), makeRecord("qr", "between"), makeRecord("z", "after all")});
    for (const char* root : {"q", "r"})
        (void)accept(bert, share(root, Permission::ReadOnly).shareDetails->URL);
    world.options.limits.recordsPerPage = 1;
    world.restart();
    QueryRecords query{shared, annasZone(), "Reminder", {}};
    std::vector<std::string> found;
    int pages = 0;
    do {
        const auto page = bert.ask<QueriedRecords>(query);
        for (const auto& record : page.records)
            found.push_back(record.recordID.recordName);
        const auto place = fromText(page.cursor).value_or("");
        for (const char* unseen : {"a", "private", "qr", "z"})
            EXPECT_FALSE(place.starts_with(unseen)) << place;
        query.cursor = page.cursor;
    } while (!query.cursor.empty() && ++pages < 10);
    EXPECT_THAT(found, ElementsAre("q", "r"));
}

TEST_F(Shares, OfTooManyPeopleAreNotAccepted) {
    const auto URL = share("r", Permission::ReadOnly).shareDetails->URL;
    (void)accept(bert, share("q", Permission::ReadOnly).shareDetails->URL);
    cleo.makeZone();
    const auto saved =
        cleo.save({makeRecord("c", "Cleo's"), [] {
                       CKRecord record;
                       record.recordType = CKRecordTypeShare;
                       record.recordID = {"share of c", remindersZone};
                       record.shareDetails = CKShareDetails{{"c", remindersZone}, {}, Permission::ReadOnly, {}};
                       return record;
                   }()});
    world.options.limits.zonesPerAccount = 1;
    world.restart();
    const auto& other = saved.saved.at(1).shareDetails->URL;
    EXPECT_EQ(accept(bert, other).failed.at(other).code, CKErrorCode::LimitExceeded);
    EXPECT_THAT(accept(bert, URL).failed, IsEmpty()) << "another one of the same zone takes none";
}

TEST_F(Shares, LetParticipantsWriteAsTheirPermissionSays) {
    const auto readers = share("r", Permission::ReadOnly).shareDetails->URL;
    const auto writers = share("q", Permission::ReadWrite).shareDetails->URL;
    for (const auto& URL : {readers, writers})
        (void)accept(bert, URL);
    const auto code = [](const ModifiedRecords& answer) {
        return answer.failed.empty() ? 0 : static_cast<int>(answer.failed.begin()->second.code);
    };
    const auto save = [&](const char* name) {
        return code(bert.save({makeRecord(name, "Bert's", annasZone())}, SavePolicy::ChangedKeys, shared));
    };
    EXPECT_EQ(save("r"), 10);
    EXPECT_EQ(save("q"), 0);
    EXPECT_EQ(save("private"), 10);
    EXPECT_EQ(save("new"), 10);
    EXPECT_EQ(code(bert.remove({seen("q")}, shared)), 10);
    EXPECT_EQ(code(bert.remove({seen("private")}, shared)), 11);
    EXPECT_EQ(code(bert.remove({seen("new")}, shared)), 11);
    EXPECT_EQ(bert.codeOf(ModifyZones{shared, {}, {annasZone()}}), 10);
    auto stolen = bert.fetch({seen("share of q")}, shared).records.at(0);
    stolen.shareDetails->participants.clear();
    EXPECT_EQ(code(bert.save({stolen}, SavePolicy::AllKeys, shared)), 10);
    const auto now = anna.fetch({{"q", remindersZone}}).records.at(0);
    EXPECT_EQ(*now.get<std::string>("title"), "Bert's");
    EXPECT_EQ(now.share->recordID.recordName, "share of q") << "writing does not end the share";
}

TEST_F(Shares, EndByLeavingByStoppingAndByExclusion) {
    enum class Way { Leave, Stop, DeleteRoot, Exclude, CloseTheDoor, DeleteZone, DeleteAccount };
    for (auto way : {Way::Leave, Way::Stop, Way::DeleteRoot, Way::Exclude, Way::CloseTheDoor, Way::DeleteZone,
                     Way::DeleteAccount}) {
        SCOPED_TRACE(static_cast<int>(way));
        anna.makeZone();
        (void)anna.save({makeRecord("r", "Milk")}, SavePolicy::AllKeys);
        const auto saved = way == Way::Exclude
                               ? share("r", Permission::None, {invited("bert@example.org", Permission::ReadOnly)})
                               : share("r", Permission::ReadOnly);
        const auto& URL = saved.shareDetails->URL;
        EXPECT_THAT(accept(bert, URL).failed, IsEmpty());
        const auto before = bert.ask<DatabaseChanges>(FetchDatabaseChanges{shared, {}}).token;
        switch (way) {
            case Way::Leave:
                EXPECT_THAT(bert.remove({seen("share of r")}, shared).failed, IsEmpty());
                break;
            case Way::Stop:
                EXPECT_THAT(anna.remove({saved.recordID}).failed, IsEmpty());
                EXPECT_FALSE(anna.fetch({{"r", remindersZone}}).records.at(0).share);
                break;
            case Way::DeleteRoot:
                EXPECT_THAT(anna.remove({{"r", remindersZone}}).failed, IsEmpty());
                EXPECT_THAT(anna.fetch({saved.recordID}).records, IsEmpty());
                break;
            case Way::Exclude:
            case Way::CloseTheDoor:
                (void)share("r", Permission::None);
                break;
            case Way::DeleteZone:
                EXPECT_EQ(anna.codeOf(ModifyZones{DatabaseScope::Private, {}, {remindersZone}}), 0);
                break;
            case Way::DeleteAccount:
                EXPECT_EQ(anna.codeOf(DeleteAccount{"password of anna"}), 0);
                break;
        }
        EXPECT_THAT(bert.ask<Zones>(FetchZones{shared}).zones, IsEmpty());
        EXPECT_THAT(bert.ask<DatabaseChanges>(FetchDatabaseChanges{shared, before}).deleted, ElementsAre(annasZone()));
        EXPECT_EQ(bert.fetch({seen("r")}, shared).failed.at(seen("r")).code, CKErrorCode::ZoneNotFound);
        EXPECT_EQ(accept(bert, URL).failed.empty(), way == Way::Leave) << "who left may come again";
        if (way == Way::Leave) (void)bert.remove({seen("share of r")}, shared);
        if (way != Way::DeleteZone && way != Way::DeleteAccount) (void)anna.remove({saved.recordID});
    }
}

TEST_F(Shares, LeavingOneOfTwoLooksLikeDeletions) {
    (void)accept(bert, share("r", Permission::ReadOnly).shareDetails->URL);
    (void)accept(bert, share("q", Permission::ReadOnly).shareDetails->URL);
    const auto token = bert.changes(std::nullopt, shared, annasZone()).token;
    (void)bert.remove({seen("share of r")}, shared);
    const auto after = bert.changes(token, shared, annasZone());
    EXPECT_THAT(names(after), UnorderedElementsAre("-r", "-share of r"));
    (void)anna.save({makeRecord("r", "changed")}, SavePolicy::AllKeys);
    EXPECT_THAT(names(bert.changes(after.token, shared, annasZone())), IsEmpty());
    (void)anna.save({makeRecord("q", "changed")}, SavePolicy::AllKeys);
    EXPECT_THAT(names(bert.changes(after.token, shared, annasZone())), ElementsAre("q"));
}

TEST_F(Shares, CannotBeAcceptedByTheirOwner) {
    const auto URL = share("r", Permission::ReadOnly).shareDetails->URL;
    EXPECT_THAT(accept(anna, URL).failed.at(URL).description, testing::HasSubstr("owner tried to accept"));
}

TEST_F(Shares, KeepTheirURLAndStatesWhenTheOwnerSavesThemAgain) {
    const auto URL =
        share("r", Permission::None, {invited("bert@example.org", Permission::ReadOnly)}).shareDetails->URL;
    (void)accept(bert, URL);
    auto again = anna.fetch({{"share of r", remindersZone}}).records.at(0);
    again.shareDetails->URL = "zun-cloud://share/mine";
    auto forged = invited("cleo@example.org", Permission::ReadWrite);
    forged.acceptanceStatus = Status::Accepted;
    forged.userIdentity.userRecordName = cleo.accountID;
    again.shareDetails->participants.push_back(forged);
    const auto saved = anna.save({again}).saved.at(0);
    EXPECT_EQ(saved.shareDetails->URL, URL);
    EXPECT_EQ(saved.shareDetails->participants.at(1).acceptanceStatus, Status::Accepted);
    EXPECT_EQ(saved.shareDetails->participants.at(2).acceptanceStatus, Status::Pending) << "nobody accepts for another";
    EXPECT_THAT(cleo.ask<Zones>(FetchZones{shared}).zones, IsEmpty());
}

}  // namespace
}  // namespace zun::cloud
