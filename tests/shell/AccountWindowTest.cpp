#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QTest>

#include "shell/AccountWorld.h"
#include "shell/ZNAccountWindowController.h"

namespace zun {
namespace {

using testing::ElementsAre;

class AccountWindow : public testing::Test, protected AccountWorld {
  protected:
    void open(const std::string& language = "en") {
        window.reset();
        model.reset();
        strings = std::make_unique<LocalizedStrings>(std::vector{language});
        labels = std::make_unique<DateLabels>(environment, *strings);
        model = std::make_unique<AccountModel>(collaborators(*strings));
        openWindow();
    }
    void openWindow() {
        window = std::make_unique<ZNAccountWindowController>(ZNAccountWindowController::Collaborators{
            *model, settings, *strings, *labels, dispatch, pictures,
            [this](QWidget*, const QString&, const QString& proposal) {
                proposed = proposal;
                return QString::fromStdString((folder.path() / "all.jsonl").string());
            }});
        window->show();
        window->activateWindow();
        settle();
    }
    void settle() {
        for (int i = 0; i < 3; ++i) {
            dispatch.runUntilIdle();
            QCoreApplication::processEvents();
        }
    }
    template <typename Widget = QWidget>
    Widget* find(const char* name) const {
        auto* widget = window->findChild<Widget*>(name);
        EXPECT_TRUE(widget) << name;
        return widget;
    }
    void type(const char* name, const char* text) const { find<QLineEdit>(name)->setText(text); }
    void click(const char* name) {
        EXPECT_TRUE(find(name)->isVisible()) << name;
        QTest::mouseClick(find(name), Qt::LeftButton);
        settle();
    }
    void signInByKeys() {
        type("address", "cloud.example.org");
        type("name", "ada");
        type("password", "correct horse");
        find("password")->setFocus();
        QTest::keyClick(find("password"), Qt::Key_Return);
        settle();
    }
    [[nodiscard]] std::string notice() const {
        for (const auto* each : window->findChildren<AccountNotice*>("notice"))
            if (each->isVisible()) return each->text().toStdString();
        return {};
    }
    // Of the page that is seen, as long as it is.
    [[nodiscard]] QPushButton* withoutKeyring() const {
        for (auto* each : window->findChildren<QPushButton*>("withoutKeyringButton"))
            if (each->isVisible()) return each;
        return nullptr;
    }
    [[nodiscard]] std::vector<QPushButton*> rowButtons() const {
        std::vector<QPushButton*> all;
        for (auto* row : window->findChildren<QWidget*>("row"))
            if (row->isVisible()) all.push_back(row->findChild<QPushButton*>());
        return all;
    }
    [[nodiscard]] std::string focused() const {
        return window->focusWidget() ? window->focusWidget()->objectName().toStdString() : "";
    }
    // Nothing of the page that is seen is cut off, and all that can be reached by key has a name.
    void expectEverythingFits() const {
        for (auto* child : window->findChildren<QWidget*>()) {
            if (!child->isVisible()) continue;
            const auto* label = qobject_cast<const QLabel*>(child);
            const bool isButton = qobject_cast<const QAbstractButton*>(child) != nullptr;
            const auto name = (child->objectName() + " " + (label ? label->text() : QString())).toStdString();
            if (isButton) {
                EXPECT_GE(child->width(), child->minimumSizeHint().width()) << name;
            }
            if (label) {
                EXPECT_GE(child->height(), label->heightForWidth(label->width())) << name;
            }
            const QRect inWindow(child->mapTo(window.get(), QPoint()), child->size());
            if (label || isButton) {
                EXPECT_GE(inWindow.left(), 0) << name;
                EXPECT_LE(inWindow.right(), window->width()) << name;
            }
            if (child->focusPolicy() == Qt::NoFocus || label) continue;
            auto* spoken = QAccessible::queryAccessibleInterface(child);
            EXPECT_FALSE(spoken->text(QAccessible::Name).isEmpty()) << name << child->metaObject()->className();
        }
    }

    Pictures pictures;
    QString proposed;
    std::unique_ptr<LocalizedStrings> strings;
    std::unique_ptr<DateLabels> labels;
    std::unique_ptr<AccountModel> model;
    std::unique_ptr<ZNAccountWindowController> window;
};

TEST_F(AccountWindow, ARefusedSignInKeepsWhatWasTypedAndTheFocus) {
    open();
    EXPECT_EQ(focused(), "address");
    service->holdsBack = true;
    refusal = CKError{CKErrorCode::NotAuthenticated, "", {}};
    signInByKeys();
    EXPECT_EQ(notice(), "Signing in…");
    EXPECT_FALSE(find("signInButton")->isEnabled());
    service->answerHeld();
    settle();
    EXPECT_EQ(notice(), "The name or the password is wrong.");
    EXPECT_TRUE(find("signInButton")->isEnabled());
    EXPECT_EQ(focused(), "password");
    EXPECT_EQ(find<QLineEdit>("password")->text(), "correct horse");
    window->close();
    EXPECT_TRUE(find<QLineEdit>("password")->text().isEmpty()) << "not where nobody sees it";
}

TEST_F(AccountWindow, ALockedKeyringIsToldOfAndNeedNotBeWaitedFor) {
    open();
    const struct {
        bool waits;
        std::string outcome;
        bool isSignedIn;
    } cases[] = {
        {false, "You did not sign in, and nothing was kept here: the keyring stayed locked.", false},
        {true, "", true},
    };
    for (const auto& each : cases) {
        int looks = 0;
        userOfKeyring = [&] {
            settle();
            ++looks;
            EXPECT_THAT(notice(), testing::StartsWith("The keyring is locked and waits for its password."));
            expectEverythingFits();
            ASSERT_TRUE(withoutKeyring());
            if (!each.waits) QTest::mouseClick(withoutKeyring(), Qt::LeftButton);
        };
        signInByKeys();
        EXPECT_EQ(looks, 1);
        EXPECT_EQ(notice(), each.outcome);
        EXPECT_EQ(model->isSignedIn(), each.isSignedIn);
        EXPECT_FALSE(withoutKeyring());
        EXPECT_EQ(keyring.empty(), !each.isSignedIn);
        EXPECT_EQ(std::filesystem::exists(keeper.file()), each.isSignedIn);
        const bool isTakenBack = std::holds_alternative<cloud::SignOut>(service->requests.back());
        EXPECT_EQ(isTakenBack, !each.isSignedIn) << "the service has no device that nobody has the token of";
    }
}

TEST_F(AccountWindow, GoesOnWhileItIsClosedAndShowsWhatCameOfIt) {
    open();
    service->holdsBack = true;
    signInByKeys();
    QTest::keyClick(window->focusWidget(), Qt::Key_Escape);
    EXPECT_FALSE(window->isVisible());
    openWindow();
    EXPECT_EQ(notice(), "Signing in…");
    window.reset();
    service->answerHeld();
    settle();
    report = {environment.now(), 2, AccountSyncReport::Ending::Unreachable, {}};
    openWindow();
    EXPECT_EQ(find<QLabel>("who")->text(), "Ada Lovelace (ada)");
    EXPECT_EQ(find<QLabel>("place")->text(), "in the desktop’s keyring");
    EXPECT_EQ(find<QLabel>("waiting")->text(), "changes to 2 reminders");
    EXPECT_TRUE(find<QLabel>("problem")->text().startsWith("The service cannot be reached."));
    click("syncNowButton");
    EXPECT_EQ(sync.passes, 2) << "one by signing in";
    sync.set(true);
    settle();
    EXPECT_EQ(find<QLabel>("lastSync")->text(), "Syncing…");
    EXPECT_FALSE(find("problem")->isVisible());
    report = {environment.now(), 0, AccountSyncReport::Ending::Done, {}};
    sync.set(false);
    settle();
    EXPECT_EQ(find<QLabel>("waiting")->text(), "nothing");
    click("cloudSwitch");
    EXPECT_FALSE(settings.onGetCloudKitStatus());
    EXPECT_FALSE(find("syncNowButton")->isEnabled());
    const int before = reports;
    dispatch.advance(2 * ZNAccountWindowController::reportInterval);
    EXPECT_GE(reports, before + 2) << "numbers change without a sync";
}

TEST_F(AccountWindow, AsksAboutACertificateWithTheHarmlessAnswerFirst) {
    open();
    refusal = CKError{CKErrorCode::NetworkFailure, "", {}};
    certificate = OfferedCertificate{"AA:BB", "CN = cloud", "CN = Ada", "2027", false};
    signInByKeys();
    EXPECT_EQ(find<QLabel>("fingerprint")->text(), "AA:BB");
    EXPECT_EQ(find<QLabel>("subject")->text(), "CN = cloud");
    EXPECT_EQ(focused(), "refuseButton");
    EXPECT_FALSE(find<QPushButton>("trustButton")->isDefault());
    QTest::keyClick(window->focusWidget(), Qt::Key_Escape);
    settle();
    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(find("address")->isVisible());
    signInByKeys();
    refusal.reset();
    click("trustButton");
    EXPECT_TRUE(find("who")->isVisible());
}

TEST_F(AccountWindow, DetoursEndWhereTheyBegan) {
    open();
    click("createButton");
    QTest::keyClick(window->focusWidget(), Qt::Key_Escape);
    EXPECT_TRUE(find("address")->isVisible());
    type("address", "cloud.example.org");
    click("createButton");
    EXPECT_EQ(find<QLineEdit>("newAddress")->text(), "cloud.example.org");
    type("newName", "ada");
    type("email", "ada@example.org");
    type("newPassword", "correct horse");
    type("repeatedPassword", "correct horse");
    type("invitation", "K7-42");
    window->findChild<QScrollArea*>()->ensureWidgetVisible(find("makeButton"));
    click("makeButton");
    const auto& made = std::get<cloud::CreateAccount>(service->requests.front());
    EXPECT_EQ(made.invitation + made.emailAddress + made.displayName, "K7-42ada@example.orgada");

    click("passwordButton");
    EXPECT_EQ(focused(), "oldPassword");
    type("oldPassword", "correct horse");
    type("changedPassword", "another horse");
    type("changedPasswordAgain", "another horse");
    click("changeButton");
    EXPECT_EQ(notice(), "The password is changed.");
    EXPECT_TRUE(find("who")->isVisible());

    click("deleteButton");
    EXPECT_TRUE(find<QLabel>("whatGoes")->text().contains("https://cloud.example.org"));
    type("deletionPassword", "another horse");
    const auto before = service->requests.size();
    QTest::keyClick(find("deletionPassword"), Qt::Key_Return);
    settle();
    EXPECT_EQ(service->requests.size(), before) << "what cannot be undone wants the button";
    click("deleteForeverButton");
    EXPECT_FALSE(model->isSignedIn());
    EXPECT_TRUE(find("address")->isVisible());
}

TEST_F(AccountWindow, ListsDevicesAndKeptVersions) {
    open();
    signInByKeys();
    click("znDevicesItemIdentifier");
    ASSERT_EQ(rowButtons().size(), 2u);
    EXPECT_EQ(rowButtons()[1]->accessibleName(), "Sign out this device: The workshop");
    QTest::keyClick(rowButtons()[1], Qt::Key_Space);
    settle();
    EXPECT_EQ(rowButtons().size(), 1u);
    EXPECT_EQ(notice(), "The device is signed out.");

    for (int i = 60; i > 0; --i)
        versions.push_back(version(i, i % 2 ? KeptReason::Deleted : KeptReason::Replaced, "Row " + std::to_string(i)));
    click("znVersionsItemIdentifier");
    EXPECT_EQ(rowButtons().size(), 50u) << "so that thousands open at once";
    rowButtons()[0]->setFocus();
    QTest::keyClick(rowButtons()[0], Qt::Key_Space);
    settle();
    EXPECT_THAT(broughtBack, ElementsAre(60));
    EXPECT_EQ(rowButtons()[0]->text(), "Brought Back");
    EXPECT_FALSE(rowButtons()[0]->isEnabled());
    QTest::keyClick(find("moreVersionsButton"), Qt::Key_Space);
    EXPECT_EQ(rowButtons().size(), 60u);
    EXPECT_FALSE(find("moreVersionsButton")->isVisible());
}

TEST_F(AccountWindow, TakesEverythingAlongWhereTheUserSays) {
    open();
    signInByKeys();
    refusal = CKError{CKErrorCode::NetworkUnavailable, "", {}};
    click("exportButton");
    EXPECT_TRUE(proposed.endsWith("/zun-account.jsonl"));
    EXPECT_EQ(notice(), strings->string("Account_Error_Unreachable"));
}

TEST_F(AccountWindow, EverythingFitsAndIsNamedInEveryLanguageAndDirection) {
    versions = {version(1, KeptReason::Deleted, std::string(80, 'w') + " and more", "notes")};
    for (const auto& language : LocalizedStrings::availableLanguages()) {
        for (const auto direction : {Qt::LeftToRight, Qt::RightToLeft}) {
            SCOPED_TRACE(language);
            QApplication::setLayoutDirection(direction);
            keeper.signedOut();
            open(language);
            expectEverythingFits();
            click("createButton");
            expectEverythingFits();
            QTest::keyClick(window->focusWidget(), Qt::Key_Escape);
            refusal = CKError{CKErrorCode::NetworkFailure, "", {}};
            certificate = OfferedCertificate{"AA:BB", "CN = cloud", "CN = Ada", "2027", false};
            signInByKeys();
            expectEverythingFits();
            refusal.reset();
            report = {std::nullopt, 12, AccountSyncReport::Ending::Unreachable, {}};
            click("trustButton");
            expectEverythingFits();
            for (const auto* detour : {"passwordButton", "deleteButton"}) {
                window->findChild<QScrollArea*>()->ensureWidgetVisible(find(detour));
                click(detour);
                expectEverythingFits();
                QTest::keyClick(window->focusWidget(), Qt::Key_Escape);
            }
            for (const auto* tab : {"znDevicesItemIdentifier", "znVersionsItemIdentifier"}) {
                click(tab);
                expectEverythingFits();
            }
        }
    }
    QApplication::setLayoutDirection(Qt::LeftToRight);
}

}  // namespace
}  // namespace zun
