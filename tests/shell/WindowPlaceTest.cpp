#include <gtest/gtest.h>

#include <QScreen>
#include <fstream>

#include "shell/ShellWorld.h"

namespace zun {
namespace {

TEST(WindowPlace, LayoutModeFollowsTheWidth) {
    const struct {
        double width;
        std::uint64_t mode;
    } cases[] = {{0, 0}, {389.5, 0}, {390, 1}, {479, 1}, {480, 2}, {980, 2}, {980.5, 3}, {5000, 3}};
    for (const auto& c : cases)
        EXPECT_EQ(layoutModeForWidth(c.width), c.mode) << c.width;

    TemporaryFolder folder;
    ZNUserDefaults defaults(folder.path());
    ZNSettingsObject settings(defaults, nullptr, nullptr);
    ZNWindow window(settings, folder.path() / "window.ini");
    window.restorePlace();
    window.show();
    EXPECT_EQ(settings.windowLayoutMode(), 1u);
    window.resize(900, 700);
    EXPECT_EQ(settings.windowLayoutMode(), 2u);
    window.resize(1600, 900);
    EXPECT_EQ(settings.windowLayoutMode(), 3u);
}

TEST(WindowPlace, IsRememberedWithinBoundsAndOnScreen) {
    TemporaryFolder folder;
    ZNUserDefaults defaults(folder.path());
    ZNSettingsObject settings(defaults, nullptr, nullptr);
    const auto closedAt = [&](QRect place) {
        ZNWindow window(settings, folder.path() / "window.ini");
        window.show();
        window.setGeometry(place);
        window.close();
        ZNWindow next(settings, folder.path() / "window.ini");
        next.restorePlace();
        return next.geometry();
    };
    EXPECT_EQ(closedAt({30, 40, 700, 500}), QRect(30, 40, 700, 500));
    EXPECT_EQ(closedAt({0, 0, 2000, 1500}).size(), QSize(980, 720));
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    const auto beyond = closedAt({screen.right() - 250, screen.bottom() - 300, 400, 450});
    EXPECT_EQ(beyond.bottomRight(), screen.bottomRight()) << "all of it can be seen";
    EXPECT_EQ(beyond.size(), QSize(400, 450));
    const auto lost = closedAt({20'000, 20'000, 500, 500});
    EXPECT_EQ(lost.size(), QSize(500, 500));
    EXPECT_NE(lost.topLeft(), QPoint(20'000, 20'000)) << "the screen it stood on has gone";
}

TEST(WindowPlace, ADamagedPlaceFileGivesTheSmallestWindow) {
    TemporaryFolder folder;
    std::ofstream(folder.path() / "window.ini") << "[General]\nznWindowAutoSaveName=@Rect(nonsense";
    ZNUserDefaults defaults(folder.path());
    ZNSettingsObject settings(defaults, nullptr, nullptr);
    ZNWindow window(settings, folder.path() / "window.ini");
    window.restorePlace();
    EXPECT_EQ(window.size(), ZNWindow::smallest);
}

}  // namespace
}  // namespace zun
