#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>

#include <qpa/qwindowsysteminterface.h>

#include "core/NotificationNames.h"
#include "shell/AppWorld.h"
#include "shell/MessageBar.h"

namespace zun {
namespace {

using testing::ElementsAre;
using namespace std::chrono_literals;

std::vector<std::string> topLevels() {
    std::vector<std::string> names;
    for (const auto* widget : QApplication::topLevelWidgets())
        names.emplace_back(widget->metaObject()->className());
    std::sort(names.begin(), names.end());
    return names;
}

void giveKeyboardTo(const QWidget& widget) {
    QCoreApplication::processEvents();
    QWindowSystemInterface::handleWindowActivated<QWindowSystemInterface::SynchronousDelivery>(widget.windowHandle());
}

class ModesTest : public testing::Test, public AppWorld {};

TEST_F(ModesTest, SwitchingTenTimesLeavesOneOfEverything) {
    store(dated("call", "2026-01-14T09:00:00Z"));
    launch();
    const auto withWindow = topLevels();
    int title = 0;
    const auto titles =
        notifications.addObserver(ZNReminderCountDidUpdateNotification, [&](const NSNotification&) { ++title; });
    for (int i = 0; i < 10; ++i) {
        setShowInMenubar(true);
        EXPECT_FALSE(app->tabWindow());
        ASSERT_TRUE(app->menuBarWindow() && app->statusItemView());
        EXPECT_FALSE(app->menuBarWindow()->shown());
        EXPECT_THAT(deck(), ElementsAre("call"));
        setShowInMenubar(true);
        setShowInMenubar(false);
        EXPECT_FALSE(app->menuBarWindow() || app->statusItemView());
        ASSERT_TRUE(app->tabWindow());
        EXPECT_TRUE(app->tabWindow()->window().isVisible());
        EXPECT_THAT(deck(), ElementsAre("call"));
    }
    EXPECT_EQ(topLevels(), withWindow);
    // One controller hears of a change, and one command reaches one deck.
    title = 0;
    notifications.postNotificationName(ZNCompleteTopCardMenuActionNotification);
    advance(1s);
    EXPECT_TRUE(stored("call")->completed_date());
    const int titlesOfOneController = title;
    advance(400s);
    EXPECT_EQ(title - titlesOfOneController, 1) << "one refresh timer runs";
}

TEST_F(ModesTest, AnotherProcessMaySwitch) {
    launch();
    ZNUserDefaults other(folder.path() / "configuration");
    other.onSetShowInMenubar(true);
    app->settingsFileChanged();
    advance(1s);
    EXPECT_TRUE(app->menuBarWindow());
}

TEST_F(ModesTest, WithoutATrayTheWindowStaysUntilThereIsOne) {
    defaults.onSetDidFinishTour(true);
    settings.setShowInMenubar(true);
    tray.isThere = false;
    launch();
    ASSERT_TRUE(app->tabWindow());
    EXPECT_TRUE(app->tabWindow()->window().isVisible());
    EXPECT_THAT(app->root().messages().message().toStdString(), testing::HasSubstr("tray"));
    tray.appear();
    advance(1s);
    EXPECT_TRUE(app->menuBarWindow());
    EXPECT_FALSE(app->tabWindow());

    setShowInMenubar(false);
    tray.isThere = false;
    setShowInMenubar(true);
    EXPECT_TRUE(tray.isAwaited);
    setShowInMenubar(false);
    EXPECT_FALSE(tray.isAwaited) << "nobody wants it any more";
}

TEST_F(ModesTest, TheItemOpensAndClosesThePanel) {
    settings.setShowInMenubar(true);
    launch();
    auto& panel = *app->menuBarWindow();
    QWidget other;
    other.show();
    const auto click = [&] {
        app->togglePopover();
        giveKeyboardTo(panel.shown() ? static_cast<QWidget&>(panel.panel()) : other);
        advance(500ms);
    };
    EXPECT_FALSE(panel.panel().isVisible());
    click();
    EXPECT_TRUE(panel.shown() && panel.panel().isVisible());
    EXPECT_EQ(settings.windowLayoutMode(), 0u);
    EXPECT_EQ(panel.tabController().height(), panel.panel().contentRect().height());
    click();
    EXPECT_FALSE(panel.shown() || panel.panel().isVisible());

    // Pressing the item takes the keyboard, which closes the panel, before the click.
    click();
    giveKeyboardTo(other);
    advance(100ms);
    EXPECT_FALSE(panel.shown()) << "another window has the keyboard";
    app->togglePopover();
    EXPECT_FALSE(panel.shown()) << "the same click";
    advance(500ms);
    click();
    EXPECT_TRUE(panel.shown());

    // Opened again while it fades out, it comes back whole.
    notifications.postNotificationName(ZNCloseWindowActionNotification);
    advance(80ms);
    EXPECT_LT(panel.panel().windowOpacity(), 1);
    click();
    EXPECT_TRUE(panel.panel().isVisible());
    EXPECT_EQ(panel.panel().windowOpacity(), 1);

    // A dialog of its own takes the keyboard and leaves it open.
    notifications.postNotificationName(ZNQuitActionNotification);
    QDialog dialog(&panel.panel());
    dialog.show();
    giveKeyboardTo(dialog);
    advance(500ms);
    EXPECT_TRUE(panel.shown());
    app->activate();
    EXPECT_TRUE(panel.shown());
}

TEST_F(ModesTest, PlacesThePanelByTheItem) {
    using Arrow = PanelPlacement::Arrow;
    const QRect screen(0, 0, 1920, 1080);
    const QRect underTop(0, 30, 1920, 1050), overBottom(0, 0, 1920, 1040), besideLeft(60, 0, 1860, 1080);
    const QRect right(1920, 0, 1280, 800);  // a second screen
    const struct {
        const char* name;
        std::optional<QRect> item;
        QRect screen, available;
        PanelPlacement placement;
    } cases[] = {
        {"under a bar", QRect(1000, 0, 24, 30), screen, underTop, {{812, 35, 400, 500}, Arrow::Up, 200}},
        {"far right", QRect(1890, 0, 24, 30), screen, underTop, {{1510, 35, 400, 500}, Arrow::Up, 385}},
        {"far left", QRect(4, 0, 24, 30), screen, underTop, {{10, 35, 400, 500}, Arrow::Up, 15}},
        {"over a bar", QRect(1800, 1044, 32, 32), screen, overBottom, {{1510, 539, 400, 500}, Arrow::Down, 306}},
        {"beside a bar", QRect(10, 20, 40, 40), screen, besideLeft, {{70, 65, 400, 500}, Arrow::Up, 15}},
        {"second screen",
         QRect(2500, 0, 20, 24),
         right,
         QRect(1920, 24, 1280, 776),
         {{2310, 29, 400, 500}, Arrow::Up, 200}},
        {"no item", std::nullopt, screen, underTop, {{760, 35, 400, 500}, Arrow::None, 0}},
        {"a small screen",
         QRect(300, 0, 20, 20),
         QRect(0, 0, 640, 400),
         QRect(0, 20, 640, 380),
         {{110, 20, 400, 380}, Arrow::Up, 200}},
    };
    for (const auto& c : cases) {
        const auto placed = placePanel(c.item, c.screen, c.available);
        EXPECT_EQ(placed.frame, c.placement.frame) << c.name;
        EXPECT_EQ(placed.arrow, c.placement.arrow) << c.name;
        EXPECT_EQ(placed.arrowX, c.placement.arrowX) << c.name;
    }
    EXPECT_FALSE(itemUnderPointer({900, 500}, screen, underTop)) << "on a window";
    EXPECT_EQ(placePanel(itemUnderPointer({1000, 1060}, screen, overBottom), screen, overBottom).frame.bottom(), 1034);
}

TEST(StatusItem, ShowsTheCountInOneColour) {
    const struct {
        std::size_t count;
        const char* text;
    } cases[] = {{0, ""}, {1, "1"}, {99, "99"}, {100, "99+"}, {100'000, "99+"}};
    Pictures pictures;
    for (const auto& c : cases) {
        EXPECT_EQ(statusItemCountText(c.count), c.text);
        for (const auto ground : {BarGround::Light, BarGround::Dark}) {
            const QImage picture = statusItemIcon(c.count, ground, pictures).pixmap(22, 22).toImage();
            ASSERT_EQ(picture.size(), QSize(22, 22));
            int painted = 0;
            for (int i = 0; i < 22 * 22; ++i) {
                const QColor color = picture.pixelColor(i % 22, i / 22);
                if (color.alpha() < 128) continue;
                ++painted;
                EXPECT_EQ(color.lightnessF() > 0.5, ground == BarGround::Dark);
            }
            EXPECT_GT(painted, 22);
        }
    }
    EXPECT_EQ(barGround(std::nullopt, "ubuntu:GNOME"), BarGround::Dark);
    EXPECT_EQ(barGround(2, "KDE"), BarGround::Light);
    EXPECT_EQ(barGround(1, "XFCE"), BarGround::Dark);
    EXPECT_EQ(barGround(std::nullopt, ""), BarGround::Unknown);
}

}  // namespace
}  // namespace zun
