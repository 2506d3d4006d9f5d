#include "shell/ShellWorld.h"

#include <gtest/gtest.h>

#include <QApplication>

namespace zun {
namespace {

// One application object for the whole program, as Qt wants it.
class OneApplication final : public testing::Environment {
  public:
    void SetUp() override { _application = std::make_unique<QApplication>(_count, _arguments); }
    void TearDown() override { _application.reset(); }

  private:
    int _count = 1;
    char _name[11] = "test_shell";
    char* _arguments[2] = {_name, nullptr};
    std::unique_ptr<QApplication> _application;
};

[[maybe_unused]] const auto* application = testing::AddGlobalTestEnvironment(new OneApplication);

}  // namespace

ShellWorld::ShellWorld() {
    const CardContext context{
        dispatch, notifications, settings, pictures, animations, texts, [this] { return QSizeF(window.size()); }};
    tabs = new ZNTabViewController({{context, manager, environment, undoStack}, strings, kept});
    window.setContent(tabs);
    menu.attachTo(window);
}

void ShellWorld::open() {
    tabs->fetchData();
    window.show();
    window.activateWindow();
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
