#include "cards/SyncStatus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cards/CardWorld.h"
#include "cards/DeckToolbar.h"
#include "cards/ZNCardViewController.h"
#include "core/ManagerWorld.h"
#include "core/NotificationNames.h"

namespace zun {
namespace {

using testing::ElementsAre;

// Counts what is asked; the test says when a pass begins and ends.
class ScriptedSync final : public SyncStatus, public KeyValueObservable {
  public:
    [[nodiscard]] bool isSyncing() const override { return _isSyncing; }
    [[nodiscard]] Observation observeIsSyncing(std::function<void()> handler) override {
        return observe({"isSyncing"}, [handler = std::move(handler)](std::string_view) { handler(); });
    }
    void syncChangesFromCloudKit() override {
        ++passes;
        if (onPass) onPass();
    }
    void setIsSyncing(bool isSyncing) {
        _isSyncing = isSyncing;
        didChangeValueForKey("isSyncing");
    }

    int passes = 0;
    std::function<void()> onPass;

  private:
    std::atomic<bool> _isSyncing = false;
};

class SyncStatusInTheToolbar : public testing::Test, protected ManagerWorld {
  protected:
    SyncStatusInTheToolbar() : ManagerWorld(1, "2026-01-14T10:30:20Z") {
        window.resize(500, 600);
        store(dated("a", "2026-01-14T09:15:00Z"));
        store(dated("b", "2026-01-13T09:15:00Z"));
        screen = new ZNCardViewController({cards, manager, environment, undo, strings, labels, sync}, &window);
        screen->resize(window.size());
        window.show();
    }
    void advance(std::chrono::milliseconds time) {
        dispatch.advance(time);
        settle();
    }
    // On a queue of the cloud's, as most of what a sync tells.
    void elsewhere(const Block& block) {
        dispatch.concurrent(QualityOfService::Utility)->async(block);
        dispatch.runUntilIdle();
    }
    void advance(int milliseconds) { advance(std::chrono::milliseconds(milliseconds)); }
    [[nodiscard]] const DeckToolbar& toolbar() const { return *screen->findChild<DeckToolbar*>(); }
    [[nodiscard]] double alpha() const { return toolbar().syncingAlpha(); }
    [[nodiscard]] std::string label() const { return toolbar().syncingText().toStdString(); }
    [[nodiscard]] bool isHeard() const { return screen->findChild<QWidget*>("syncingLabel")->isVisible(); }
    void post(std::string_view name) { notifications.postNotificationName(name); }

    Pictures pictures;
    ZNAnimationTimeline animations{dispatch};
    PlainTexts texts;  // each text is its key
    QUndoStack undo;
    ZNGradientView window;
    CardContext cards{
        dispatch, notifications, settings, pictures, animations, texts, [this] { return QSizeF(window.size()); }};
    ScriptedSync sync;
    ZNCardViewController* screen = nullptr;
};

TEST_F(SyncStatusInTheToolbar, EveryFullRefreshStartsAPassAndSoDoEachFiveMinutes) {
    screen->fetchData();
    EXPECT_EQ(sync.passes, 1);
    advance(std::chrono::seconds(299));
    EXPECT_EQ(sync.passes, 1);
    screen->fetchData();
    EXPECT_EQ(sync.passes, 2);
    advance(std::chrono::seconds(299));
    EXPECT_EQ(sync.passes, 2) << "put off by the whole interval";
    advance(std::chrono::seconds(301));
    EXPECT_EQ(sync.passes, 4);
    screen->writeFailed();
    EXPECT_EQ(sync.passes, 4) << "a pass whose writes fail would start the next for ever";
}

TEST_F(SyncStatusInTheToolbar, APassThatWorksShowsItsTextOnlyMeanwhile) {
    screen->fetchData();
    advance(500);
    const QImage atRest = window.grab().toImage();
    EXPECT_EQ(alpha(), 0);
    EXPECT_EQ(label(), "Default_Sync_Text");
    elsewhere([this] { sync.setIsSyncing(true); });
    advance(100);
    EXPECT_GT(alpha(), 0);
    EXPECT_LT(alpha(), 1);
    advance(100);
    EXPECT_EQ(alpha(), 1);
    EXPECT_TRUE(isHeard());
    EXPECT_NE(window.grab().toImage(), atRest);
    elsewhere([this] { sync.setIsSyncing(false); });
    advance(200);
    EXPECT_EQ(alpha(), 0);
    EXPECT_FALSE(isHeard());
    EXPECT_EQ(window.grab().toImage(), atRest);
}

TEST_F(SyncStatusInTheToolbar, AFailureStaysToBeReadAndTheFirstOfSeveralIsTold) {
    const struct {
        std::vector<std::string_view> posted;
        const char* text;
    } cases[] = {
        {{ZNiCloudSyncUnreachableError}, "Error_Sync_Text_Connectivity"},
        {{ZNiCloudSyncUnreachableError, ZNiCloudSyncTimeoutError}, "Error_Sync_Text_Timeout"},
        {{ZNiCloudSyncTimeoutError, ZNiCloudSyncUnreachableError, ZNiCloudSyncFatalError}, "Error_Sync_Text"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.text);
        screen->fetchData();
        sync.setIsSyncing(true);
        advance(1000);
        for (const auto name : each.posted)
            elsewhere([&] { post(name); });
        EXPECT_EQ(label(), "Default_Sync_Text") << "the pass still runs";
        sync.setIsSyncing(false);
        EXPECT_EQ(label(), each.text);
        advance(2799);
        EXPECT_EQ(alpha(), 1);
        EXPECT_TRUE(isHeard());
        advance(201);
        EXPECT_EQ(alpha(), 0);
        // A push that comes now is no sync of ours: the failure stands until that.
        sync.setIsSyncing(true);
        EXPECT_EQ(label(), "Default_Sync_Text");
        sync.setIsSyncing(false);
        EXPECT_EQ(label(), each.text);
        advance(5000);
    }
    screen->fetchData();
    sync.setIsSyncing(true);
    sync.setIsSyncing(false);
    EXPECT_EQ(label(), "Default_Sync_Text");
    advance(200);
    EXPECT_EQ(alpha(), 0);
}

TEST_F(SyncStatusInTheToolbar, APassThatEndsAtOnceStillSaysWhy) {
    // All of it on another thread, before the main thread hears of any.
    sync.onPass = [this] {
        elsewhere([this] {
            sync.setIsSyncing(true);
            post(ZNiCloudSyncUnreachableError);
            sync.setIsSyncing(false);
        });
    };
    screen->fetchData();
    advance(300);
    EXPECT_EQ(label(), "Error_Sync_Text_Connectivity");
    EXPECT_EQ(alpha(), 1);
    advance(3000);
    EXPECT_EQ(alpha(), 0);
}

TEST_F(SyncStatusInTheToolbar, ANewPassKeepsItsTextWhenTheFailureBeforeItRunsOut) {
    screen->fetchData();
    sync.setIsSyncing(true);
    post(ZNiCloudSyncFatalError);
    sync.setIsSyncing(false);
    advance(2000);
    screen->fetchData();
    sync.setIsSyncing(true);
    advance(5000);
    EXPECT_EQ(alpha(), 1);
    EXPECT_EQ(label(), "Default_Sync_Text");
    // What is told after the screen has gone is no harm.
    elsewhere([this] { sync.setIsSyncing(false); });
    delete screen;
    sync.setIsSyncing(true);
    post(ZNiCloudSyncFatalError);
    advance(5000);
}

TEST_F(SyncStatusInTheToolbar, AReminderAskedForComesToTheTopWhenThePassEnds) {
    screen->fetchData();
    advance(500);
    ASSERT_THAT(ids(screen->reminders()), ElementsAre("a", "b"));
    screen->showReminderWithID("b");
    elsewhere([this] { post(ZNiCloudSyncFinished); });
    advance(500);
    EXPECT_THAT(ids(screen->reminders()), ElementsAre("b", "a"));
    EXPECT_EQ(screen->stackView().stackViews().front()->reminder()->reminderID(), "b") << "as it is seen";
    screen->showReminderWithID("nobody");
    post(ZNiCloudSyncFinished);
    EXPECT_THAT(ids(screen->reminders()), ElementsAre("b", "a"));
}

}  // namespace
}  // namespace zun
