#include "shell/ShellWorld.h"

#include <gtest/gtest.h>

#include "support/QtApplication.h"

namespace zun {
namespace {

[[maybe_unused]] const auto* application = testing::AddGlobalTestEnvironment(new OneQtApplication);

}  // namespace

ShellWorld::ShellWorld(ScreenMakers makers) : screens(std::move(makers)) {
    const CardContext context{dispatch,
                              notifications,
                              settings,
                              pictures,
                              animations,
                              texts,
                              [this] { return QSizeF(window.contentRect().size()); }};
    tabs =
        new ZNTabViewController({{context, manager, environment, undoStack, strings, labels}, strings, kept, screens});
    window.setContent(tabs);
    menu.attachTo(window);
    QObject::connect(&menu, &ZNMenuViewController::cancelWanted, tabs, &ZNTabViewController::cancelOperation);
    QObject::connect(&menu, &ZNMenuViewController::searchWanted, tabs, &ZNTabViewController::search);
}

void ShellWorld::open() {
    tabs->fetchData();
    window.show();
    window.activateWindow();
    QCoreApplication::processEvents();  // it has the keyboard from here on
    advance(std::chrono::milliseconds(100));
}

void ShellWorld::press(Qt::Key key, Qt::KeyboardModifiers modifiers) {
    QTest::keyClick(window.windowHandle(), key, modifiers);
    advance(std::chrono::seconds(1));
}

void ShellWorld::advance(std::chrono::milliseconds time) {
    dispatch.advance(time);
    settle();
}

}  // namespace zun
